#include "OrxDialogs.h"

#include <QDialog>
#include <QInputDialog>

namespace {

class QtDialogs final : public OrxDialogs
{
public:
    QMessageBox::StandardButton information(QWidget* parent, const QString& title,
                                            const QString& text,
                                            QMessageBox::StandardButtons buttons,
                                            QMessageBox::StandardButton defaultButton) override
    {
        return QMessageBox::information(parent, title, text, buttons, defaultButton);
    }
    QMessageBox::StandardButton warning(QWidget* parent, const QString& title, const QString& text,
                                        QMessageBox::StandardButtons buttons,
                                        QMessageBox::StandardButton defaultButton) override
    {
        return QMessageBox::warning(parent, title, text, buttons, defaultButton);
    }
    QMessageBox::StandardButton critical(QWidget* parent, const QString& title, const QString& text,
                                         QMessageBox::StandardButtons buttons,
                                         QMessageBox::StandardButton defaultButton) override
    {
        return QMessageBox::critical(parent, title, text, buttons, defaultButton);
    }
    QMessageBox::StandardButton question(QWidget* parent, const QString& title, const QString& text,
                                         QMessageBox::StandardButtons buttons,
                                         QMessageBox::StandardButton defaultButton) override
    {
        return QMessageBox::question(parent, title, text, buttons, defaultButton);
    }
    void about(QWidget* parent, const QString& title, const QString& text) override
    {
        QMessageBox::about(parent, title, text);
    }
    QString getOpenFileName(QWidget* parent, const QString& caption, const QString& dir,
                            const QString& filter) override
    {
        return QFileDialog::getOpenFileName(parent, caption, dir, filter);
    }
    QStringList getOpenFileNames(QWidget* parent, const QString& caption, const QString& dir,
                                 const QString& filter) override
    {
        return QFileDialog::getOpenFileNames(parent, caption, dir, filter);
    }
    QString getSaveFileName(QWidget* parent, const QString& caption, const QString& dir,
                            const QString& filter) override
    {
        return QFileDialog::getSaveFileName(parent, caption, dir, filter);
    }
    QString getExistingDirectory(QWidget* parent, const QString& caption, const QString& dir,
                                 QFileDialog::Options options) override
    {
        return QFileDialog::getExistingDirectory(parent, caption, dir, options);
    }
    int getItem(QWidget* parent, const QString& title, const QString& label,
                const QStringList& items) override
    {
        bool ok = false;
        const QString item = QInputDialog::getItem(parent, title, label, items, 0, false, &ok);
        return ok ? items.indexOf(item) : -1;
    }
    QString getText(QWidget* parent, const QString& title, const QString& label,
                    const QString& text, bool* ok) override
    {
        return QInputDialog::getText(parent, title, label, QLineEdit::Normal, text, ok);
    }
};

OrxDialogs* installed = nullptr;

} // namespace

int OrxDialogs::exec(QDialog* dialog)
{
    return dialog->exec();
}

OrxDialogs& OrxDialogs::instance()
{
    static QtDialogs qtDialogs;
    return installed ? *installed : qtDialogs;
}

void OrxDialogs::install(OrxDialogs* dialogs)
{
    installed = dialogs;
}
