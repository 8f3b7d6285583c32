#pragma once

#include "OrxDialogs.h"

#include <QList>
#include <QQueue>
#include <QVariant>

#include <functional>

// A dialog seam for tests: records every dialog the code asks for and answers
// from a queue. Installs itself on construction and restores the Qt dialogs
// when destroyed.
//
// Answers: a QMessageBox::StandardButton (as int) for message boxes and
// questions, a QString for single-file and folder choosers and text entry, a
// QStringList for multi-file choosers. With the queue empty, message boxes
// answer their default button (else Ok, or No for questions), choosers answer
// "none" and text entry is cancelled.
class ScriptedDialogs : public OrxDialogs
{
public:
    enum Kind
    {
        Information,
        Warning,
        Critical,
        Question,
        About,
        OpenFileName,
        OpenFileNames,
        SaveFileName,
        ExistingDirectory,
        Text,
        Item,
        Dialog // one of the program's own dialogs: its window title
    };

    struct Call
    {
        Kind kind;
        QString title;
        QString text; // message text, the chooser's start directory, or the entry's label
        QString filter;
    };

    ScriptedDialogs();
    ~ScriptedDialogs() override;

    void answer(QMessageBox::StandardButton button) { answers.enqueue(int(button)); }
    void answer(const QString& path) { answers.enqueue(path); }
    void answer(const QStringList& paths) { answers.enqueue(paths); }

    QList<Call> calls;
    QQueue<QVariant> answers;
    // Drives a dialog of the program's own in place of the user; without it
    // such a dialog is rejected at once.
    std::function<int(QDialog*)> drive;

    QMessageBox::StandardButton information(QWidget*, const QString& title, const QString& text,
                                            QMessageBox::StandardButtons,
                                            QMessageBox::StandardButton defaultButton) override;
    QMessageBox::StandardButton warning(QWidget*, const QString& title, const QString& text,
                                        QMessageBox::StandardButtons,
                                        QMessageBox::StandardButton defaultButton) override;
    QMessageBox::StandardButton critical(QWidget*, const QString& title, const QString& text,
                                         QMessageBox::StandardButtons,
                                         QMessageBox::StandardButton defaultButton) override;
    QMessageBox::StandardButton question(QWidget*, const QString& title, const QString& text,
                                         QMessageBox::StandardButtons,
                                         QMessageBox::StandardButton defaultButton) override;
    void about(QWidget*, const QString& title, const QString& text) override;
    QString getOpenFileName(QWidget*, const QString& caption, const QString& dir,
                            const QString& filter) override;
    QStringList getOpenFileNames(QWidget*, const QString& caption, const QString& dir,
                                 const QString& filter) override;
    QString getSaveFileName(QWidget*, const QString& caption, const QString& dir,
                            const QString& filter) override;
    QString getExistingDirectory(QWidget*, const QString& caption, const QString& dir,
                                 QFileDialog::Options) override;
    // Records the items, one a line, as the call's filter; answers an int.
    int getItem(QWidget*, const QString& title, const QString& label,
                const QStringList& items) override;
    QString getText(QWidget*, const QString& title, const QString& label, const QString& text,
                    bool* ok) override;
    int exec(QDialog* dialog) override;

private:
    QMessageBox::StandardButton box(Kind kind, const QString& title, const QString& text,
                                    QMessageBox::StandardButton fallback);
    QVariant chooser(Kind kind, const QString& caption, const QString& dir, const QString& filter);
};
