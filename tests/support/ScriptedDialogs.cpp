#include "ScriptedDialogs.h"

#include <QDialog>

ScriptedDialogs::ScriptedDialogs()
{
    OrxDialogs::install(this);
}

ScriptedDialogs::~ScriptedDialogs()
{
    OrxDialogs::install(nullptr);
}

QMessageBox::StandardButton ScriptedDialogs::box(Kind kind, const QString& title,
                                                 const QString& text,
                                                 QMessageBox::StandardButton fallback)
{
    calls.append({kind, title, text, QString()});
    if (answers.isEmpty())
        return fallback;
    return QMessageBox::StandardButton(answers.dequeue().toInt());
}

QVariant ScriptedDialogs::chooser(Kind kind, const QString& caption, const QString& dir,
                                  const QString& filter)
{
    calls.append({kind, caption, dir, filter});
    return answers.isEmpty() ? QVariant() : answers.dequeue();
}

static QMessageBox::StandardButton orDefault(QMessageBox::StandardButton defaultButton,
                                             QMessageBox::StandardButton otherwise)
{
    return defaultButton == QMessageBox::NoButton ? otherwise : defaultButton;
}

QMessageBox::StandardButton ScriptedDialogs::information(QWidget*, const QString& title,
                                                         const QString& text,
                                                         QMessageBox::StandardButtons,
                                                         QMessageBox::StandardButton defaultButton)
{
    return box(Information, title, text, orDefault(defaultButton, QMessageBox::Ok));
}

QMessageBox::StandardButton ScriptedDialogs::warning(QWidget*, const QString& title,
                                                     const QString& text,
                                                     QMessageBox::StandardButtons,
                                                     QMessageBox::StandardButton defaultButton)
{
    return box(Warning, title, text, orDefault(defaultButton, QMessageBox::Ok));
}

QMessageBox::StandardButton ScriptedDialogs::critical(QWidget*, const QString& title,
                                                      const QString& text,
                                                      QMessageBox::StandardButtons,
                                                      QMessageBox::StandardButton defaultButton)
{
    return box(Critical, title, text, orDefault(defaultButton, QMessageBox::Ok));
}

QMessageBox::StandardButton ScriptedDialogs::question(QWidget*, const QString& title,
                                                      const QString& text,
                                                      QMessageBox::StandardButtons,
                                                      QMessageBox::StandardButton defaultButton)
{
    return box(Question, title, text, orDefault(defaultButton, QMessageBox::No));
}

void ScriptedDialogs::about(QWidget*, const QString& title, const QString& text)
{
    box(About, title, text, QMessageBox::Ok);
}

QString ScriptedDialogs::getOpenFileName(QWidget*, const QString& caption, const QString& dir,
                                         const QString& filter)
{
    return chooser(OpenFileName, caption, dir, filter).toString();
}

QStringList ScriptedDialogs::getOpenFileNames(QWidget*, const QString& caption,
                                              const QString& dir, const QString& filter)
{
    return chooser(OpenFileNames, caption, dir, filter).toStringList();
}

QString ScriptedDialogs::getSaveFileName(QWidget*, const QString& caption, const QString& dir,
                                         const QString& filter)
{
    return chooser(SaveFileName, caption, dir, filter).toString();
}

QString ScriptedDialogs::getExistingDirectory(QWidget*, const QString& caption,
                                              const QString& dir, QFileDialog::Options)
{
    return chooser(ExistingDirectory, caption, dir, QString()).toString();
}

int ScriptedDialogs::getItem(QWidget*, const QString& title, const QString& label,
                              const QStringList& items)
{
    const QVariant answer = chooser(Item, title, label, items.join('\n'));
    return answer.isValid() ? answer.toInt() : -1;
}

QString ScriptedDialogs::getText(QWidget*, const QString& title, const QString& label,
                                 const QString&, bool* ok)
{
    const QVariant answer = chooser(Text, title, label, QString());
    *ok = answer.isValid();
    return answer.toString();
}

int ScriptedDialogs::exec(QDialog* dialog)
{
    calls.append({Dialog, dialog->windowTitle(), QString(), QString()});
    return drive ? drive(dialog) : int(QDialog::Rejected);
}
