#include "ScriptedDialogs.h"

#include <QtTest>

// The seam itself: what is installed is what code reaches, and removing the
// scripted implementation restores the Qt dialogs.
class TestDialogs : public QObject
{
    Q_OBJECT
private slots:
    void scriptedAnswersAndRecords()
    {
        ScriptedDialogs dialogs;
        QCOMPARE(&OrxDialogs::instance(), static_cast<OrxDialogs*>(&dialogs));

        dialogs.answer(QMessageBox::Yes);
        dialogs.answer(QStringList{"/a.png", "/b.png"});
        QCOMPARE(OrxDialogs::instance().question(nullptr, "Upload", "Sure?"), QMessageBox::Yes);
        QCOMPARE(OrxDialogs::instance().getOpenFileNames(nullptr, "Image paths", "/start",
                                                         "Images (*.* )"),
                 QStringList({"/a.png", "/b.png"}));
        // Queue empty: a question answers No, a chooser answers nothing.
        QCOMPARE(OrxDialogs::instance().question(nullptr, "Upload", "Again?"), QMessageBox::No);
        QVERIFY(OrxDialogs::instance().getSaveFileName(nullptr, "Save", "/d", "*.bin").isEmpty());

        QCOMPARE(dialogs.calls.size(), 4);
        QCOMPARE(dialogs.calls[0].kind, ScriptedDialogs::Question);
        QCOMPARE(dialogs.calls[0].title, QString("Upload"));
        QCOMPARE(dialogs.calls[0].text, QString("Sure?"));
        QCOMPARE(dialogs.calls[1].filter, QString("Images (*.* )"));
    }

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
