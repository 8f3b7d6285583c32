#include "OrxDoubleSliderBox.h"
#include "OrxDoubleSpinBox.h"
#include "OrxSlider.h"
#include "OrxSliderBox.h"
#include "OrxSpinBox.h"

#include <QLineEdit>
#include <QStyleOptionSlider>
#include <QVBoxLayout>
#include <QtTest>

namespace {

// A window with the slider box and a second field to move the focus to.
template <typename Box> struct Form
{
    QWidget window;
    Box* box;
    QLineEdit* elsewhere = new QLineEdit(&window);

    explicit Form(bool sliderFirst = false) : box(new Box(&window, sliderFirst))
    {
        auto* layout = new QVBoxLayout(&window);
        layout->addWidget(box);
        layout->addWidget(elsewhere);
        window.resize(400, 100);
    }

    bool show()
    {
        window.show();
        QApplication::setActiveWindow(&window);
        return QTest::qWaitForWindowActive(&window);
    }
};

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

} // namespace

class TestSliderBoxes : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

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

    void doubleBoxScale_data()
    {
        QTest::addColumn<double>("step");
        QTest::addColumn<double>("min");
        QTest::addColumn<double>("max");
        QTest::addColumn<int>("sliderMin");
        QTest::addColumn<int>("sliderMax");
        QTest::addColumn<double>("spinStep");

        QTest::newRow("step 0.01") << 0.01 << 0.0 << 1.0 << 0 << 100 << 0.01;
        QTest::newRow("step 0 as 0.01") << 0.0 << 0.0 << 1.0 << 0 << 100 << 0.01;
        QTest::newRow("step 0.5") << 0.5 << 0.0 << 10.0 << 0 << 20 << 0.5;
        QTest::newRow("step 0.1, negative") << 0.1 << -1.0 << 1.0 << -10 << 10 << 0.1;
        QTest::newRow("step 0.3 rounds the scale") << 0.3 << 0.0 << 3.0 << 0 << 9 << 0.3;
        QTest::newRow("step 5 keeps scale 1") << 5.0 << 0.0 << 100.0 << 0 << 100 << 5.0;
    }

    void doubleBoxScale()
    {
        QFETCH(double, step);
        QFETCH(double, min);
        QFETCH(double, max);
        QFETCH(int, sliderMin);
        QFETCH(int, sliderMax);
        QFETCH(double, spinStep);

        OrxDoubleSliderBox box(nullptr, false);
        box.setSingleStep(step);
        box.setRange(min, max, 0, 0);
        auto* slider = box.findChild<OrxSlider*>();
        QVERIFY(slider);
        QCOMPARE(slider->minimum(), sliderMin);
        QCOMPARE(slider->maximum(), sliderMax);
        QCOMPARE(box.findChild<OrxDoubleSpinBox*>()->singleStep(), spinStep);
    }

    void typingMovesSliderWithoutItsSignals()
    {
        Form<OrxDoubleSliderBox> form;
        form.box->setSingleStep(0.01);
        form.box->setRange(0.0, 1.0, 0, 0);
        QVERIFY(form.show());
        auto* slider = form.box->findChild<OrxSlider*>();
        auto* spinBox = form.box->findChild<OrxDoubleSpinBox*>();
        QSignalSpy sliderValue(slider, &QSlider::valueChanged);
        QSignalSpy sliderOwnValue(slider, &OrxSlider::ValueChanged);
        QSignalSpy changed(form.box, &OrxDoubleSliderBox::valueChanged);

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
        QCOMPARE(form.box->value(), 0.25);
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
        QTest::newRow("shifted positions, minimum") << 100 << 400 << 1 << 100;
        QTest::newRow("shifted positions, 10") << 100 << 400 << 10 << 200;
        QTest::newRow("shifted positions, 100") << 100 << 400 << 100 << 300;
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

    void logarithmicDoubleBox()
    {
        OrxDoubleSliderBox box(nullptr, false);
        box.setSingleStep(1.0);
        box.setRange(1.0, 1000.0, 0.0, 300.0);
        auto* slider = box.findChild<OrxSlider*>();
        box.setValue(10.0);
        QCOMPARE(slider->value(), 100);
        slider->setValue(200);
        QCOMPARE(box.value(), 100.0);
    }

    void releasingSliderReportsSliderUnits()
    {
        Form<OrxDoubleSliderBox> form(true);
        form.box->setSingleStep(0.01);
        form.box->setRange(0.0, 1.0, 0, 0);
        form.box->setValue(0.5);
        QVERIFY(form.show());
        auto* slider = form.box->findChild<OrxSlider*>();
        QSignalSpy finished(form.box, &OrxDoubleSliderBox::SetValueFinished);

        const QPoint handle = handleRect(slider).center();
        QTest::mousePress(slider, Qt::LeftButton, Qt::NoModifier, handle);
        QCOMPARE(finished.count(), 0);
        QTest::mouseRelease(slider, Qt::LeftButton, Qt::NoModifier, handle);

        QCOMPARE(form.box->value(), 0.5);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(finished.at(0).at(0).toDouble(), 50.0);
    }

    void finishingInSpinBoxReportsValue_data()
    {
        QTest::addColumn<bool>("focused");
        QTest::newRow("focused spin box") << true;
        QTest::newRow("spin box without focus") << false;
    }

    void finishingInSpinBoxReportsValue()
    {
        QFETCH(bool, focused);

        Form<OrxDoubleSliderBox> form;
        form.box->setSingleStep(0.01);
        form.box->setRange(0.0, 1.0, 0, 0);
        QVERIFY(form.show());
        auto* spinBox = form.box->findChild<OrxDoubleSpinBox*>();
        if (focused)
            spinBox->setFocus();
        else
            form.elsewhere->setFocus();
        QSignalSpy finished(form.box, &OrxDoubleSliderBox::SetValueFinished);

        spinBox->selectAll();
        QTest::keyClicks(spinBox, "0.25");
        QTest::keyClick(spinBox, Qt::Key_Return);

        QCOMPARE(form.box->value(), 0.25);
        if (focused) {
            QCOMPARE(finished.count(), 1);
            QCOMPARE(finished.at(0).at(0).toDouble(), 0.25);
        } else {
            QCOMPARE(finished.count(), 0);
        }
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
        QWidget* box = doubleBox ? static_cast<QWidget*>(doubleForm.box) : intForm.box;
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

QTEST_MAIN(TestSliderBoxes)
#include "TestSliderBoxes.moc"
