#pragma once

#include <QFileDialog>
#include <QMessageBox>
#include <QString>
#include <QStringList>

class QDialog;
class QWidget;

// The one way the program shows modal dialogs: message boxes, questions, file
// or folder choosers and text entry. Code calls OrxDialogs::instance(); the
// default implementation shows the Qt dialogs, tests install a scripted one that
// records what was asked and answers from a queue.
class OrxDialogs
{
public:
    virtual ~OrxDialogs() = default;

    virtual QMessageBox::StandardButton
    information(QWidget* parent, const QString& title, const QString& text,
                QMessageBox::StandardButtons buttons = QMessageBox::Ok,
                QMessageBox::StandardButton defaultButton = QMessageBox::NoButton) = 0;
    virtual QMessageBox::StandardButton
    warning(QWidget* parent, const QString& title, const QString& text,
            QMessageBox::StandardButtons buttons = QMessageBox::Ok,
            QMessageBox::StandardButton defaultButton = QMessageBox::NoButton) = 0;
    virtual QMessageBox::StandardButton
    critical(QWidget* parent, const QString& title, const QString& text,
             QMessageBox::StandardButtons buttons = QMessageBox::Ok,
             QMessageBox::StandardButton defaultButton = QMessageBox::NoButton) = 0;
    virtual QMessageBox::StandardButton
    question(QWidget* parent, const QString& title, const QString& text,
             QMessageBox::StandardButtons buttons = QMessageBox::StandardButtons(QMessageBox::Yes |
                                                                                 QMessageBox::No),
             QMessageBox::StandardButton defaultButton = QMessageBox::NoButton) = 0;
    virtual void about(QWidget* parent, const QString& title, const QString& text) = 0;

    virtual QString getOpenFileName(QWidget* parent, const QString& caption, const QString& dir,
                                    const QString& filter) = 0;
    virtual QStringList getOpenFileNames(QWidget* parent, const QString& caption,
                                         const QString& dir, const QString& filter) = 0;
    virtual QString getSaveFileName(QWidget* parent, const QString& caption, const QString& dir,
                                    const QString& filter) = 0;
    virtual QString getExistingDirectory(
        QWidget* parent, const QString& caption, const QString& dir,
        QFileDialog::Options options = QFileDialog::ShowDirsOnly |
                                       QFileDialog::DontResolveSymlinks) = 0;
    // One of items (its position), or -1 when the user cancelled.
    virtual int getItem(QWidget* parent, const QString& title, const QString& label,
                        const QStringList& items) = 0;
    // A line of text; *ok is false when the user cancelled.
    virtual QString getText(QWidget* parent, const QString& title, const QString& label,
                            const QString& text, bool* ok) = 0;
    // A dialog of the program's own, run modally; its result code. Scripted
    // implementations drive the dialog themselves.
    virtual int exec(QDialog* dialog);

    // The implementation in use: the installed one, else the Qt dialogs.
    static OrxDialogs& instance();
    // Installs an implementation (not owned); nullptr restores the Qt dialogs.
    static void install(OrxDialogs* dialogs);
};
