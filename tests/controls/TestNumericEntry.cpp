#include "OrxBalloonTip.h"
#include "OrxDoubleSpinBox.h"
#include "OrxHexDoubleLineEdit.h"
#include "OrxHexIntLineEdit.h"
#include "OrxSpinBox.h"

#include <QLabel>
#include <QLineEdit>
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

    // Finishes by leaving the field or with Return.
    void finish(bool leave)
    {
        if (leave)
            elsewhere->setFocus();
        else
            QTest::keyClick(control, Qt::Key_Return);
    }

    void enter(const QString& text, bool leave)
    {
        type(text);
        finish(leave);
    }
};

// The balloon's message, or "" when none is shown. A shown one must be the
// "Invalid Value" tip with its arrow at the box's lower left corner + 5 px.
QString balloon(QWidget* box)
{
    if (!OrxBalloonTip::isBalloonVisible())
        return "";
    OrxBalloonTip* tip = OrxBalloonTip::current();
    const QPoint anchor = box->mapToGlobal(QPoint(5, box->height()));
    auto* title = tip->findChild<QLabel*>("title");
    auto* message = tip->findChild<QLabel*>("message");
    if (tip->icon() != QSystemTrayIcon::Critical || !title || title->text() != "Invalid Value" ||
        !message || tip->anchor() != anchor || tip->geometry().top() != anchor.y())
        return "<wrong balloon>";
    return message->text();
}

void fixup(QAbstractSpinBox& box, QString& text)
{
    box.fixup(text);
}

} // namespace

class TestNumericEntry : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void cleanup() { OrxBalloonTip::hideBalloon(); }

    void integerBoxCorrects_data()
    {
        QTest::addColumn<int>("min");
        QTest::addColumn<int>("max");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("leave");
        QTest::addColumn<int>("expected");
        QTest::addColumn<QString>("message");

        QTest::newRow("above, leave")
            << 0 << 100 << "150" << true << 100 << "Minimum:0 Maximum:100";
        QTest::newRow("above, Return")
            << 0 << 100 << "150" << false << 100 << "Minimum:0 Maximum:100";
        QTest::newRow("below") << -50 << 50 << "-80" << true << -50 << "Minimum:-50 Maximum:50";
        QTest::newRow("above negative range")
            << -300 << -200 << "-150" << false << -200 << "Minimum:-300 Maximum:-200";
        QTest::newRow("in range") << 0 << 100 << "42" << true << 42 << "";
        QTest::newRow("lone minus") << 0 << 100 << "-" << false << 7 << "";
    }

    void integerBoxCorrects()
    {
        QFETCH(int, min);
        QFETCH(int, max);
        QFETCH(QString, typed);
        QFETCH(bool, leave);
        QFETCH(int, expected);
        QFETCH(QString, message);

        Form<OrxSpinBox> form;
        form.control->setRange(min, max);
        form.control->setValue(qBound(min, 7, max));
        QVERIFY(form.show());
        form.type(typed);
        // Out-of-range numbers and a lone minus are accepted while typing.
        QCOMPARE(form.control->text(), typed);
        form.finish(leave);
        QCOMPARE(form.control->value(), expected);
        QCOMPARE(form.control->text(), QString::number(expected));
        QCOMPARE(balloon(form.control), message);

        // After a click on the balloon, a value in range shows none.
        if (OrxBalloonTip::isBalloonVisible())
            QTest::mouseClick(OrxBalloonTip::current(), Qt::LeftButton);
        QVERIFY(!OrxBalloonTip::isBalloonVisible());
        form.enter(QString::number(max - 1), leave);
        QCOMPARE(form.control->value(), max - 1);
        QCOMPARE(balloon(form.control), QString());
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
        form.enter("150", false);
        QCOMPARE(form.control->value(), 100);
        OrxBalloonTip::hideBalloon();
        QString text = "abc";
        fixup(*form.control, text);
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

        auto row = [](const char* name, const char* prefix, const char* suffix, const char* text,
                      const char* intFixed, const char* doubleFixed) {
            QTest::newRow(name) << QString(prefix) << QString(suffix) << QString(text)
                                << QString(intFixed) << QString(doubleFixed);
        };
        row("suffix", "", " ms", "250 ms", "100 ms", "100 ms");
        row("prefix", "x=", "", "x=-3", "x=0", "x=0");
        row("both, blanks", "[", "]", "[ 250 ]", "[ 100 ]", "[ 100 ]");
        row("unparsable", "", " ms", "zz ms", "42 ms", "42 ms");
        row("comma in range", "", " ms", "2,5 ms", "42 ms", "2.5 ms");
    }

    void fixupKeepsPrefixAndSuffix()
    {
        QFETCH(QString, prefix);
        QFETCH(QString, suffix);
        QFETCH(QString, text);
        QFETCH(QString, intFixed);
        QFETCH(QString, doubleFixed);

        OrxSpinBox integerBox;
        OrxDoubleSpinBox doubleBox;
        integerBox.setRange(0, 100);
        doubleBox.setRange(0, 100);
        integerBox.setValue(42);
        doubleBox.setValue(42);
        integerBox.setPrefix(prefix);
        doubleBox.setPrefix(prefix);
        integerBox.setSuffix(suffix);
        doubleBox.setSuffix(suffix);
        QString fixed = text;
        fixup(integerBox, fixed);
        QCOMPARE(fixed, intFixed);
        fixed = text;
        fixup(doubleBox, fixed);
        QCOMPARE(fixed, doubleFixed);
    }

    void doubleBoxReadsBothSeparators_data()
    {
        QTest::addColumn<double>("min");
        QTest::addColumn<double>("max");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("shown"); // while typing
        QTest::addColumn<double>("expected");
        QTest::addColumn<QString>("message");

        QTest::newRow("comma") << 0.0 << 10.0 << "1,5"
                               << "1,5" << 1.5 << "";
        QTest::newRow("point") << 0.0 << 10.0 << "1.5"
                               << "1.5" << 1.5 << "";
        QTest::newRow("negative comma") << -10.0 << 10.0 << "-3,25"
                                        << "-3,25" << -3.25 << "";
        QTest::newRow("comma above") << 0.0 << 10.0 << "12,5"
                                     << "12,5" << 10.0 << "Minimum:0 Maximum:10";
        QTest::newRow("point below") << 0.5 << 2.5 << "0.25"
                                     << "0.25" << 0.5 << "Minimum:0.5 Maximum:2.5";
        QTest::newRow("lone minus") << 0.0 << 10.0 << "-"
                                    << "-" << 2.5 << "";
        QTest::newRow("lone point") << 0.0 << 10.0 << "."
                                    << "." << 2.5 << "";
        QTest::newRow("lone comma") << 0.0 << 10.0 << ","
                                    << "," << 2.5 << "";
        QTest::newRow("letter") << 0.0 << 10.0 << "x"
                                << "2.50" << 2.5 << "";
    }

    void doubleBoxReadsBothSeparators()
    {
        QFETCH(double, min);
        QFETCH(double, max);
        QFETCH(QString, typed);
        QFETCH(QString, shown);
        QFETCH(double, expected);
        QFETCH(QString, message);

        Form<OrxDoubleSpinBox> form;
        form.control->setRange(min, max);
        form.control->setValue(2.5);
        QVERIFY(form.show());
        form.type(typed);
        QCOMPARE(form.control->text(), shown);
        form.finish(false);
        QCOMPARE(form.control->value(), expected);
        QCOMPARE(balloon(form.control), message);
    }

    void hexLineEditsFilterTyping_data()
    {
        QTest::addColumn<bool>("fraction");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("acceptable");
        QTest::addColumn<QString>("shown");

        QTest::newRow("int hex") << false << "0x1F" << true << "0x1F";
        QTest::newRow("int decimal") << false << "1234" << true << "1234";
        QTest::newRow("int nine hex digits") << false << "0x123456789" << true << "0x12345678";
        QTest::newRow("int no point") << false << "12.5" << true << "125";
        QTest::newRow("int not a hex digit") << false << "0x1g" << true << "0x1";
        QTest::newRow("int upper-case X") << false << "0X1F" << true << "01";
        QTest::newRow("int bar and brackets") << false << "0x(|)" << true << "0x(|)";
        QTest::newRow("int hex prefix only") << false << "0x" << false << "0x";
        QTest::newRow("fraction point") << true << "12.5" << true << "12.5";
        QTest::newRow("fraction leading point") << true << ".5" << true << ".5";
        QTest::newRow("fraction second point") << true << "1.2.3" << true << "1.23";
        QTest::newRow("fraction no comma") << true << "1,5" << true << "15";
        QTest::newRow("fraction hex") << true << "0xAb" << true << "0xAb";
        QTest::newRow("fraction trailing point") << true << "7." << false << "7.";
    }

    void hexLineEditsFilterTyping()
    {
        QFETCH(bool, fraction);
        QFETCH(QString, typed);
        QFETCH(bool, acceptable);
        QFETCH(QString, shown);

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
