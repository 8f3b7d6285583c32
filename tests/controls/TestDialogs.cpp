#include "ScriptedDialogs.h"

#include <QtTest>

// The seam itself (every widget test answers its dialogs through it):
// removing the scripted implementation restores the Qt dialogs.
class TestDialogs : public QObject
{
    Q_OBJECT
private slots:
    void uninstallRestoresQtDialogs()
    {
        auto* dialogs = new ScriptedDialogs;
        OrxDialogs* scripted = dialogs;
        delete dialogs;
        QVERIFY(&OrxDialogs::instance() != scripted);
    }
};

QTEST_MAIN(TestDialogs)
#include "TestDialogs.moc"
