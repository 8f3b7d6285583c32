#include "OrxBalloonTip.h"
#include "OrxDoubleSpinBox.h"
#include "OrxHexDoubleLineEdit.h"
#include "OrxHexIntLineEdit.h"
#include "OrxSpinBox.h"

#include <QLabel>
#include <QLineEdit>
#include <QScreen>
#include <QVBoxLayout>
#include <QtTest>

namespace {

// A window holding the control under test and a second field that takes the
// focus when the operator leaves the control.
template <typename Control> struct Form
{
    QWidget window;
    Control* control = new Control(&window);
    QLineEdit* elsewhere = new QLineEdit(&window);

    Form()
    {
        auto* layout = new QVBoxLayout(&window);
        layout->setContentsMargins(30, 40, 30, 40);
        layout->addWidget(control);
        layout->addWidget(elsewhere);
        window.move(100, 80);
    }

    bool show()
    {
        window.show();
        QApplication::setActiveWindow(&window);
        return QTest::qWaitForWindowActive(&window);
    }

    // Replaces the whole text by typing, as an operator would.
    void type(const QString& text)
    {
        control->setFocus();
        control->selectAll();
        QTest::keyClicks(control, text);
    }

    void finish(const QString& how)
    {
        if (how == "leave")
            elsewhere->setFocus();
        else
            QTest::keyClick(control, Qt::Key_Return);
    }
};

QString tipLabel(const char* name)
{
    auto* label = OrxBalloonTip::current()->findChild<QLabel*>(name);
    return label ? label->text() : "<no label>";
}

} // namespace

class TestNumericEntry : public QObject
{
    Q_OBJECT

private:
    template <typename Box> void verifyBalloonBelow(Box* box, const QString& message)
    {
        QVERIFY(OrxBalloonTip::isBalloonVisible());
        OrxBalloonTip* tip = OrxBalloonTip::current();
        QCOMPARE(tip->icon(), QSystemTrayIcon::Critical);
        QCOMPARE(tip->title(), QString("Invalid Value"));
        QCOMPARE(tip->message(), message);
        QCOMPARE(tipLabel("title"), QString("Invalid Value"));
        QCOMPARE(tipLabel("message"), message);
        // Five pixels right of the box's lower left corner, and the tip's
        // arrow ends there.
        const QPoint anchor = box->mapToGlobal(QPoint(5, box->height()));
        QCOMPARE(tip->anchor(), anchor);
        QCOMPARE(tip->geometry().top(), anchor.y());
        QVERIFY(tip->geometry().left() < anchor.x() && anchor.x() < tip->geometry().right());
    }

private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void cleanup() { OrxBalloonTip::hideBalloon(); }

    void integerBoxCorrects_data()
    {
        QTest::addColumn<int>("min");
        QTest::addColumn<int>("max");
        QTest::addColumn<int>("start");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("finish");
        QTest::addColumn<int>("expected");
        QTest::addColumn<QString>("balloon");

        QTest::newRow("above, leave") << 0 << 100 << 7 << "150"
                                      << "leave" << 100 << "Minimum:0 Maximum:100";
        QTest::newRow("above, Return") << 0 << 100 << 7 << "150"
                                       << "return" << 100 << "Minimum:0 Maximum:100";
        QTest::newRow("below") << -50 << 50 << 7 << "-80"
                               << "leave" << -50 << "Minimum:-50 Maximum:50";
        QTest::newRow("above negative range") << -300 << -200 << -250 << "-150"
                                              << "return" << -200 << "Minimum:-300 Maximum:-200";
        QTest::newRow("in range") << 0 << 100 << 7 << "42"
                                  << "leave" << 42 << "";
        QTest::newRow("lone minus") << 0 << 100 << 7 << "-"
                                    << "return" << 7 << "";
    }

    void integerBoxCorrects()
    {
        QFETCH(int, min);
        QFETCH(int, max);
        QFETCH(int, start);
        QFETCH(QString, typed);
        QFETCH(QString, finish);
        QFETCH(int, expected);
        QFETCH(QString, balloon);

        Form<OrxSpinBox> form;
        form.control->setRange(min, max);
        form.control->setValue(start);
        QVERIFY(form.show());

        form.type(typed);
        // Out-of-range numbers and a lone minus are accepted while typing.
        QCOMPARE(form.control->text(), typed);
        form.finish(finish);

        QCOMPARE(form.control->value(), expected);
        QCOMPARE(form.control->text(), QString::number(expected));
        if (balloon.isEmpty())
            QVERIFY(!OrxBalloonTip::isBalloonVisible());
        else
            verifyBalloonBelow(form.control, balloon);
    }

    void inRangeValueAfterCorrectionShowsNoBalloon()
    {
        Form<OrxSpinBox> form;
        form.control->setRange(0, 100);
        QVERIFY(form.show());

        form.type("150");
        form.finish("leave");
        QVERIFY(OrxBalloonTip::isBalloonVisible());
        QTest::mouseClick(OrxBalloonTip::current(), Qt::LeftButton);
        QVERIFY(!OrxBalloonTip::isBalloonVisible());

        form.type("50");
        form.finish("leave");
        QCOMPARE(form.control->value(), 50);
        QVERIFY(!OrxBalloonTip::isBalloonVisible());
    }

    void lettersRestoreLastValue()
    {
        Form<OrxSpinBox> form;
        form.control->setRange(0, 100);
        form.control->setValue(42);
        QVERIFY(form.show());

        form.type("abc");
        QCOMPARE(form.control->text(), QString("42"));

        // A correction first, then a fixup of text that is no number: the
        // last value comes back and the correction is forgotten.
        form.type("150");
        form.finish("return");
        QCOMPARE(form.control->value(), 100);
        OrxBalloonTip::hideBalloon();
        QString text = "abc";
        static_cast<QAbstractSpinBox*>(form.control)->fixup(text);
        QCOMPARE(text, QString("100"));
        emit form.control->editingFinished();
        QVERIFY(!OrxBalloonTip::isBalloonVisible());
    }

    void fixupKeepsPrefixAndSuffix_data()
    {
        QTest::addColumn<QString>("prefix");
        QTest::addColumn<QString>("suffix");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("intFixed");
        QTest::addColumn<QString>("doubleFixed");

        QTest::newRow("suffix") << ""
                                << " ms"
                                << "250 ms"
                                << "100 ms"
                                << "100 ms";
        QTest::newRow("prefix") << "x="
                                << ""
                                << "x=-3"
                                << "x=0"
                                << "x=0";
        QTest::newRow("both, blanks") << "["
                                      << "]"
                                      << "[ 250 ]"
                                      << "[ 100 ]"
                                      << "[ 100 ]";
        QTest::newRow("unparsable") << ""
                                    << " ms"
                                    << "zz ms"
                                    << "42 ms"
                                    << "42 ms";
        QTest::newRow("comma in range") << ""
                                        << " ms"
                                        << "2,5 ms"
                                        << "42 ms"
                                        << "2.5 ms";
    }

    void fixupKeepsPrefixAndSuffix()
    {
        QFETCH(QString, prefix);
        QFETCH(QString, suffix);
        QFETCH(QString, text);
        QFETCH(QString, intFixed);
        QFETCH(QString, doubleFixed);

        OrxSpinBox integerBox;
        integerBox.setRange(0, 100);
        integerBox.setValue(42);
        integerBox.setPrefix(prefix);
        integerBox.setSuffix(suffix);
        QString fixed = text;
        static_cast<QAbstractSpinBox&>(integerBox).fixup(fixed);
        QCOMPARE(fixed, intFixed);

        OrxDoubleSpinBox doubleBox;
        doubleBox.setRange(0, 100);
        doubleBox.setValue(42);
        doubleBox.setPrefix(prefix);
        doubleBox.setSuffix(suffix);
        fixed = text;
        static_cast<QAbstractSpinBox&>(doubleBox).fixup(fixed);
        QCOMPARE(fixed, doubleFixed);
    }

    void doubleBoxReadsBothSeparators_data()
    {
        QTest::addColumn<double>("min");
        QTest::addColumn<double>("max");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<double>("expected");
        QTest::addColumn<QString>("balloon");

        QTest::newRow("comma") << 0.0 << 10.0 << "1,5" << 1.5 << "";
        QTest::newRow("point") << 0.0 << 10.0 << "1.5" << 1.5 << "";
        QTest::newRow("negative comma") << -10.0 << 10.0 << "-3,25" << -3.25 << "";
        QTest::newRow("comma above") << 0.0 << 10.0 << "12,5" << 10.0 << "Minimum:0 Maximum:10";
        QTest::newRow("point below") << 0.5 << 2.5 << "0.25" << 0.5 << "Minimum:0.5 Maximum:2.5";
        QTest::newRow("lone minus") << 0.0 << 10.0 << "-" << 2.5 << "";
        QTest::newRow("lone point") << 0.0 << 10.0 << "." << 2.5 << "";
        QTest::newRow("lone comma") << 0.0 << 10.0 << "," << 2.5 << "";
    }

    void doubleBoxReadsBothSeparators()
    {
        QFETCH(double, min);
        QFETCH(double, max);
        QFETCH(QString, typed);
        QFETCH(double, expected);
        QFETCH(QString, balloon);

        Form<OrxDoubleSpinBox> form;
        form.control->setRange(min, max);
        form.control->setValue(2.5);
        QVERIFY(form.show());

        form.type(typed);
        QCOMPARE(form.control->text(), typed);
        form.finish("return");

        QCOMPARE(form.control->value(), expected);
        if (balloon.isEmpty())
            QVERIFY(!OrxBalloonTip::isBalloonVisible());
        else
            verifyBalloonBelow(form.control, balloon);
    }

    void doubleBoxRejectsLetters()
    {
        Form<OrxDoubleSpinBox> form;
        form.control->setValue(2.5);
        QVERIFY(form.show());
        form.type("x");
        QCOMPARE(form.control->text(), QString("2.50"));
    }

    void balloonGoesOnClick()
    {
        OrxBalloonTip::showBalloon(QSystemTrayIcon::Warning, "Title", "Text", QPoint(200, 200),
                                   true);
        QVERIFY(OrxBalloonTip::isBalloonVisible());
        QPointer<OrxBalloonTip> first = OrxBalloonTip::current();
        // A second tip replaces the first.
        OrxBalloonTip::showBalloon(QSystemTrayIcon::Information, "Other", "More", QPoint(300, 200),
                                   false);
        QVERIFY(first.isNull() || !first->isVisible());
        QCOMPARE(OrxBalloonTip::current()->title(), QString("Other"));

        QTest::mouseClick(OrxBalloonTip::current(), Qt::LeftButton);
        QVERIFY(!OrxBalloonTip::isBalloonVisible());
        QTRY_VERIFY(OrxBalloonTip::current() == nullptr);
    }

    void balloonPointsAtSpotOnScreen_data()
    {
        QTest::addColumn<QString>("where");
        QTest::addColumn<bool>("arrow");

        QTest::newRow("room below") << "top-left" << true;
        QTest::newRow("no room below") << "bottom" << true;
        QTest::newRow("no room right") << "right" << true;
        QTest::newRow("without arrow") << "top-left" << false;
    }

    void balloonPointsAtSpotOnScreen()
    {
        QFETCH(QString, where);
        QFETCH(bool, arrow);

        const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
        QPoint spot = area.topLeft() + QPoint(100, 100);
        if (where == "bottom")
            spot.setY(area.bottom() - 5);
        else if (where == "right")
            spot.setX(area.right() - 3);
        OrxBalloonTip::showBalloon(QSystemTrayIcon::Critical, "Invalid Value",
                                   "Minimum:0 Maximum:100", spot, arrow);
        const QRect tip = OrxBalloonTip::current()->geometry();

        QVERIFY2(area.contains(tip), qPrintable(QString("%1,%2 %3x%4")
                                                    .arg(tip.x())
                                                    .arg(tip.y())
                                                    .arg(tip.width())
                                                    .arg(tip.height())));
        if (!arrow) {
            QCOMPARE(tip.topLeft(), spot);
            return;
        }
        QVERIFY(tip.left() < spot.x() && spot.x() < tip.right());
        if (where == "bottom")
            QCOMPARE(tip.bottom() + 1, spot.y());
        else
            QCOMPARE(tip.top(), spot.y());
    }

    void hexLineEditsFilterTyping_data()
    {
        QTest::addColumn<bool>("fraction");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<bool>("acceptable");

        QTest::newRow("int hex") << false << "0x1F"
                                 << "0x1F" << true;
        QTest::newRow("int decimal") << false << "1234"
                                     << "1234" << true;
        QTest::newRow("int nine hex digits") << false << "0x123456789"
                                             << "0x12345678" << true;
        QTest::newRow("int no point") << false << "12.5"
                                      << "125" << true;
        QTest::newRow("int not a hex digit") << false << "0x1g"
                                             << "0x1" << true;
        QTest::newRow("int upper-case X") << false << "0X1F"
                                          << "01" << true;
        QTest::newRow("int bar and brackets") << false << "0x(|)"
                                              << "0x(|)" << true;
        QTest::newRow("int hex prefix only") << false << "0x"
                                             << "0x" << false;
        QTest::newRow("fraction point") << true << "12.5"
                                        << "12.5" << true;
        QTest::newRow("fraction leading point") << true << ".5"
                                                << ".5" << true;
        QTest::newRow("fraction second point") << true << "1.2.3"
                                               << "1.23" << true;
        QTest::newRow("fraction no comma") << true << "1,5"
                                           << "15" << true;
        QTest::newRow("fraction hex") << true << "0xAb"
                                      << "0xAb" << true;
        QTest::newRow("fraction trailing point") << true << "7."
                                                 << "7." << false;
    }

    void hexLineEditsFilterTyping()
    {
        QFETCH(bool, fraction);
        QFETCH(QString, typed);
        QFETCH(QString, shown);
        QFETCH(bool, acceptable);

        std::unique_ptr<QLineEdit> edit;
        if (fraction)
            edit = std::make_unique<OrxHexDoubleLineEdit>(nullptr);
        else
            edit = std::make_unique<OrxHexIntLineEdit>(nullptr);
        QTest::keyClicks(edit.get(), typed);
        QCOMPARE(edit->text(), shown);
        QCOMPARE(edit->hasAcceptableInput(), acceptable);
    }

    void isHex_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("hex");

        QTest::newRow("upper-case X") << "0X1F" << true;
        QTest::newRow("lower case") << "0x1f" << true;
        QTest::newRow("embedded run") << "reg 0x1fA0 set" << true;
        QTest::newRow("run after digits") << "120x7" << true;
        QTest::newRow("prefix only") << "0x" << false;
        QTest::newRow("not a hex digit") << "0xg1" << false;
        QTest::newRow("decimal") << "1234" << false;
        QTest::newRow("hex digits without prefix") << "1F" << false;
    }

    void isHex()
    {
        QFETCH(QString, text);
        QFETCH(bool, hex);

        // The text is set directly: isHex looks at whatever the field holds.
        OrxHexIntLineEdit intEdit(nullptr);
        intEdit.setText(text);
        QCOMPARE(intEdit.isHex(), hex);
        OrxHexDoubleLineEdit doubleEdit(nullptr);
        doubleEdit.setText(text);
        QCOMPARE(doubleEdit.isHex(), hex);
    }
};

QTEST_MAIN(TestNumericEntry)
#include "TestNumericEntry.moc"
