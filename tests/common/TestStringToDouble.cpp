#include "StringToDouble.h"

#include <QtTest>

// Built against the shared bottom library alone, as the camera layer uses it.
class TestStringToDouble : public QObject
{
    Q_OBJECT
private slots:
    void parses_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("expected");
        QTest::addColumn<bool>("ok");

        QTest::newRow("decimal comma") << "1,5" << 1.5 << true;
        QTest::newRow("decimal point") << "1.5" << 1.5 << true;
        QTest::newRow("negative comma") << "-2,25" << -2.25 << true;
        QTest::newRow("integer") << "42" << 42.0 << true;
        // German is asked first, where the point groups thousands.
        QTest::newRow("point as thousands") << "1.500" << 1500.0 << true;
        QTest::newRow("German thousands and decimals") << "1.234,5" << 1234.5 << true;
        QTest::newRow("English thousands and decimals") << "1,234.5" << 1234.5 << true;
        QTest::newRow("exponent") << "2,5e3" << 2500.0 << true;
        QTest::newRow("letters") << "abc" << 0.0 << false;
        QTest::newRow("empty") << "" << 0.0 << false;
        QTest::newRow("hexadecimal") << "0x1F" << 0.0 << false;
        QTest::newRow("two decimal separators") << "1,5,5" << 0.0 << false;
    }

    void parses()
    {
        QFETCH(QString, text);
        QFETCH(double, expected);
        QFETCH(bool, ok);

        bool parsed = !ok;
        QCOMPARE(StringToDouble(text, &parsed), expected);
        QCOMPARE(parsed, ok);
        QCOMPARE(StringToDouble(text, nullptr), expected);
    }
};

QTEST_GUILESS_MAIN(TestStringToDouble)
#include "TestStringToDouble.moc"
