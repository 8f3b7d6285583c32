// The numeric entry controls: spin boxes that correct out-of-range input
// with a balloon, hexadecimal line edits, and the slider boxes that pair a
// slider with a spin box.

#include "OrxBalloonTip.h"
#include "OrxDoubleSliderBox.h"
#include "OrxDoubleSpinBox.h"
#include "OrxHexDoubleLineEdit.h"
#include "OrxHexIntLineEdit.h"
#include "OrxSlider.h"
#include "OrxSliderBox.h"
#include "OrxSpinBox.h"

#include <QLabel>
#include <QLineEdit>
#include <QStyleOptionSlider>
#include <QVBoxLayout>
#include <QtTest>

namespace {

// A window holding the control under test and a second field that takes the
// focus when the operator leaves the control.
template <typename Control> struct Form
{
    QWidget window;
    Control* control;
    QLineEdit* elsewhere = new QLineEdit(&window);

    // args: further constructor arguments of the control (a slider box's sliderFirst).
    template <typename... Args> explicit Form(Args... args) : control(new Control(&window, args...))
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

QRect handleRect(QSlider* slider)
{
    QStyleOptionSlider option;
    option.initFrom(slider);
    option.orientation = slider->orientation();
    option.minimum = slider->minimum();
    option.maximum = slider->maximum();
    option.sliderPosition = slider->sliderPosition();
    option.sliderValue = slider->value();
    option.singleStep = slider->singleStep();
    option.pageStep = slider->pageStep();
    option.tickPosition = slider->tickPosition();
    option.tickInterval = slider->tickInterval();
    option.upsideDown = slider->invertedAppearance();
    option.subControls = QStyle::SC_All;
    return slider->style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle,
                                           slider);
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
        QTest::newRow("int nine hex digits") << false << "0x123456789" << true << "0x12345678";
        QTest::newRow("int no point") << false << "12.5" << true << "125";
        QTest::newRow("int not a hex digit") << false << "0x1g" << true << "0x1";
        QTest::newRow("int upper-case X") << false << "0X1F" << true << "01";
        QTest::newRow("int bar and brackets") << false << "0x(|)" << true << "0x(|)";
        QTest::newRow("int hex prefix only") << false << "0x" << false << "0x";
        QTest::newRow("fraction point") << true << "12.5" << true << "12.5";
        QTest::newRow("fraction second point") << true << "1.2.3" << true << "1.23";
        QTest::newRow("fraction no comma") << true << "1,5" << true << "15";
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
        QTest::newRow("prefix only") << "0x" << false;
        QTest::newRow("not a hex digit") << "0xg1" << false;
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

    void integerSliderSnapsToStepGrid_data()
    {
        QTest::addColumn<int>("min");
        QTest::addColumn<int>("max");
        QTest::addColumn<int>("step");
        QTest::addColumn<int>("position");
        QTest::addColumn<int>("expected");

        QTest::newRow("12 rounds down") << 0 << 100 << 5 << 12 << 10;
        QTest::newRow("13 rounds up") << 0 << 100 << 5 << 13 << 15;
        QTest::newRow("half way rounds up") << 0 << 100 << 4 << 6 << 8;
        QTest::newRow("on the grid") << 0 << 100 << 5 << 35 << 35;
        QTest::newRow("grid from the minimum") << 3 << 103 << 5 << 12 << 13;
        QTest::newRow("grid from the minimum, down") << 3 << 103 << 5 << 10 << 8;
        QTest::newRow("negative range") << -50 << 50 << 10 << -26 << -30;
        QTest::newRow("step 0 gives the minimum") << 20 << 80 << 0 << 57 << 20;
    }

    void integerSliderSnapsToStepGrid()
    {
        QFETCH(int, min);
        QFETCH(int, max);
        QFETCH(int, step);
        QFETCH(int, position);
        QFETCH(int, expected);

        OrxSliderBox box(nullptr, false);
        box.setRange(min, max);
        box.setSingleStep(step);
        box.setValue(max);
        auto* slider = box.findChild<QSlider*>();
        QVERIFY(slider);
        QSignalSpy changed(&box, &OrxSliderBox::valueChanged);

        slider->setValue(position);
        QCOMPARE(box.value(), expected);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.at(0).at(0).toInt(), expected);
        // The slider follows the spin box onto the grid.
        QCOMPARE(slider->value(), expected);
    }

    // A step of 0 scales as one of 0.01: 100 slider units per value unit.
    void typingMovesSliderWithoutItsSignals_data()
    {
        QTest::addColumn<double>("step");
        QTest::newRow("step 0.01") << 0.01;
        QTest::newRow("step 0") << 0.0;
    }

    void typingMovesSliderWithoutItsSignals()
    {
        QFETCH(double, step);
        Form<OrxDoubleSliderBox> form;
        form.control->setSingleStep(step);
        form.control->setRange(0.0, 1.0, 0, 0);
        QVERIFY(form.show());
        auto* slider = form.control->findChild<OrxSlider*>();
        auto* spinBox = form.control->findChild<OrxDoubleSpinBox*>();
        QCOMPARE(slider->maximum(), 100);
        QCOMPARE(spinBox->singleStep(), 0.01);
        QSignalSpy sliderValue(slider, &QSlider::valueChanged);
        QSignalSpy sliderOwnValue(slider, &OrxSlider::ValueChanged);
        QSignalSpy changed(form.control, &OrxDoubleSliderBox::valueChanged);

        spinBox->setFocus();
        spinBox->selectAll();
        QTest::keyClicks(spinBox, "0.5");

        QCOMPARE(slider->value(), 50);
        QCOMPARE(sliderValue.count(), 0);
        QCOMPARE(sliderOwnValue.count(), 0);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.at(0).at(0).toDouble(), 0.5);

        // And the other way: the slider sets the spin box.
        slider->setValue(25);
        QCOMPARE(form.control->value(), 0.25);
        QCOMPARE(changed.count(), 2);
        QCOMPARE(changed.at(1).at(0).toDouble(), 0.25);
    }

    void logarithmicSlider_data()
    {
        QTest::addColumn<int>("posMin");
        QTest::addColumn<int>("posMax");
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("position");

        QTest::newRow("minimum") << 0 << 300 << 1 << 0;
        QTest::newRow("10") << 0 << 300 << 10 << 100;
        QTest::newRow("100") << 0 << 300 << 100 << 200;
        QTest::newRow("maximum") << 0 << 300 << 1000 << 300;
        QTest::newRow("shifted positions, 10") << 100 << 400 << 10 << 200;
        QTest::newRow("coarse positions") << 0 << 3 << 10 << 1;
    }

    void logarithmicSlider()
    {
        QFETCH(int, posMin);
        QFETCH(int, posMax);
        QFETCH(int, value);
        QFETCH(int, position);

        OrxSlider slider(Qt::Horizontal);
        slider.SetRange(1, 1000, posMin, posMax);
        slider.SetValue(value);
        QCOMPARE(slider.value(), position);
        slider.setValue(position == posMin ? posMin + 1 : posMin);
        QSignalSpy reported(&slider, &OrxSlider::ValueChanged);
        slider.setValue(position);
        QCOMPARE(slider.GetValue(), value);
        QCOMPARE(reported.count(), 1);
        QCOMPARE(reported.at(0).at(0).toInt(), value);
    }

    void releasingSliderReportsSliderUnits()
    {
        Form<OrxDoubleSliderBox> form(true);
        form.control->setSingleStep(0.01);
        form.control->setRange(0.0, 1.0, 0, 0);
        form.control->setValue(0.5);
        QVERIFY(form.show());
        auto* slider = form.control->findChild<OrxSlider*>();
        QSignalSpy finished(form.control, &OrxDoubleSliderBox::SetValueFinished);

        const QPoint handle = handleRect(slider).center();
        QTest::mousePress(slider, Qt::LeftButton, Qt::NoModifier, handle);
        QCOMPARE(finished.count(), 0);
        QTest::mouseRelease(slider, Qt::LeftButton, Qt::NoModifier, handle);

        QCOMPARE(form.control->value(), 0.5);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(finished.at(0).at(0).toDouble(), 50.0);
    }

    void returnSilencesFocusOutForGood_data()
    {
        QTest::addColumn<bool>("doubleBox");
        QTest::addColumn<bool>("onSlider");
        QTest::addColumn<int>("key");

        QTest::newRow("integer box, Return in spin box") << false << false << int(Qt::Key_Return);
        QTest::newRow("integer box, Enter on slider") << false << true << int(Qt::Key_Enter);
        QTest::newRow("double box, Return on slider") << true << true << int(Qt::Key_Return);
        QTest::newRow("double box, Enter in spin box") << true << false << int(Qt::Key_Enter);
    }

    void returnSilencesFocusOutForGood()
    {
        QFETCH(bool, doubleBox);
        QFETCH(bool, onSlider);
        QFETCH(int, key);

        Form<OrxSliderBox> intForm;
        Form<OrxDoubleSliderBox> doubleForm;
        QWidget* box = doubleBox ? static_cast<QWidget*>(doubleForm.control) : intForm.control;
        QLineEdit* elsewhere = doubleBox ? doubleForm.elsewhere : intForm.elsewhere;
        QVERIFY(doubleBox ? doubleForm.show() : intForm.show());
        QWidget* slider = box->findChild<QSlider*>();
        QWidget* spinBox = box->findChild<QAbstractSpinBox*>();
        QWidget* target = onSlider ? slider : spinBox;
        QSignalSpy focusOut(box, SIGNAL(focusOut()));

        // Moving between the two parts stays inside the box.
        spinBox->setFocus();
        slider->setFocus();
        QCOMPARE(focusOut.count(), 0);
        elsewhere->setFocus();
        QCOMPARE(focusOut.count(), 1);

        // Other keys leave the report on.
        target->setFocus();
        QTest::keyClick(target, Qt::Key_Up);
        elsewhere->setFocus();
        QCOMPARE(focusOut.count(), 2);

        target->setFocus();
        QTest::keyClick(target, Qt::Key(key));
        elsewhere->setFocus();
        QCOMPARE(focusOut.count(), 2);

        spinBox->setFocus();
        elsewhere->setFocus();
        QCOMPARE(focusOut.count(), 2);
    }
};

QTEST_MAIN(TestNumericEntry)
#include "TestNumericEntry.moc"
