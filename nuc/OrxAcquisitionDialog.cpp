#include "OrxAcquisitionDialog.h"

#include "NucAcquisition.h"
#include "NucImageInput.h"
#include "OrxDialogs.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QTimer>
#include <QVBoxLayout>

OrxAcquisitionDialog::OrxAcquisitionDialog(NucImageInput& input, NucImageInput::Series which,
                                           OrxAcquisitionSource source, QWidget* parent)
    : QDialog(parent), m_input(input), m_which(which), m_source(std::move(source))
{
    const bool dark = which == NucImageInput::Dark;
    setWindowTitle(dark ? tr("Acquire Dark Images") : tr("Acquire Bright Images"));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    m_frames = new QSpinBox(this);
    m_frames->setObjectName("spinFrames");
    m_frames->setRange(1, 1000);
    m_frames->setValue(16);
    form->addRow(tr("Camera:"), new QLabel(m_source.camera, this));
    form->addRow(tr("Frames:"), m_frames);
    form->addRow(tr("Exposure time:"), new QLabel(m_source.exposure, this));
    form->addRow(tr("Gain:"), new QLabel(m_source.gain, this));
    layout->addLayout(form);

    auto* note = new QLabel(
        dark ? tr("Cover the lens (lens cap on) before you acquire the dark images.")
             : tr("The first frame is checked: its mean should lie between 30 % and 80 % of "
                  "full scale, with at most 0.1 % of the pixels saturated."),
        this);
    note->setObjectName("lblNote");
    note->setWordWrap(true);
    layout->addWidget(note);

    m_save = new QCheckBox(tr("Save the frames as PNG files in:"), this);
    m_save->setObjectName("chkSave");
    m_folder = new QLineEdit(this);
    m_folder->setObjectName("editFolder");
    m_browse = new QPushButton(tr("Browse..."), this);
    auto* folderRow = new QHBoxLayout;
    folderRow->addWidget(m_folder, 1);
    folderRow->addWidget(m_browse);
    layout->addWidget(m_save);
    layout->addLayout(folderRow);

    m_progress = new QProgressBar(this);
    m_progress->setObjectName("progress");
    m_progress->setValue(0);
    layout->addWidget(m_progress);

    auto* buttons = new QDialogButtonBox(this);
    m_start = buttons->addButton(tr("Acquire"), QDialogButtonBox::ActionRole);
    m_start->setObjectName("btnAcquire");
    buttons->addButton(QDialogButtonBox::Cancel);
    layout->addWidget(buttons);
    connect(m_start, &QPushButton::clicked, this, &OrxAcquisitionDialog::start);
    connect(buttons, &QDialogButtonBox::rejected, this, &OrxAcquisitionDialog::reject);
    connect(m_browse, &QPushButton::clicked, this, &OrxAcquisitionDialog::browse);
}

OrxAcquisitionDialog::~OrxAcquisitionDialog() = default;

void OrxAcquisitionDialog::browse()
{
    const QString folder = OrxDialogs::instance().getExistingDirectory(
        this, tr("Folder for the Frames"), m_folder->text());
    if (!folder.isEmpty()) {
        m_folder->setText(folder);
        m_save->setChecked(true);
    }
}

void OrxAcquisitionDialog::start()
{
    if (m_acquisition)
        return;
    QString folder;
    if (m_save->isChecked()) {
        folder = m_folder->text();
        QString error;
        if (folder.isEmpty() || !NucAcquisition::prepareFolder(folder, &error)) {
            OrxDialogs::instance().critical(this, windowTitle(),
                                            folder.isEmpty() ? tr("Choose a folder for the frames.")
                                                             : error);
            return;
        }
    }
    m_acquisition = std::make_unique<NucAcquisition>(m_input, m_which, m_frames->value(), folder,
                                                     m_source.camera);
    for (QWidget* w :
         std::initializer_list<QWidget*>{m_frames, m_save, m_folder, m_browse, m_start})
        w->setEnabled(false);
    m_progress->setRange(0, m_frames->value());
    m_progress->setValue(0);
    QTimer::singleShot(0, this, &OrxAcquisitionDialog::nextFrame);
}

void OrxAcquisitionDialog::nextFrame()
{
    if (!m_acquisition)
        return; // cancelled meanwhile
    QImage frame;
    QString error;
    if (!m_source.grab(&frame, &error)) {
        stop(error);
        return;
    }
    if (m_acquisition->added() == 0 && m_which == NucImageInput::Bright) {
        const QString warning = NucLevel::of(frame, m_source.fullScale()).brightWarning();
        if (!warning.isEmpty() &&
            OrxDialogs::instance().question(this, tr("Level Check"),
                                            warning + "\n\n" + tr("Acquire anyway?")) !=
                QMessageBox::Yes) {
            stop(QString());
            return;
        }
    }
    if (!m_acquisition->add(frame, &error)) {
        stop(error);
        return;
    }
    m_progress->setValue(m_acquisition->added());
    if (!m_acquisition->complete()) {
        QTimer::singleShot(0, this, &OrxAcquisitionDialog::nextFrame);
        return;
    }
    m_acquisition->commit();
    m_items = m_acquisition->items();
    m_acquisition.reset();
    accept();
}

void OrxAcquisitionDialog::stop(const QString& error)
{
    m_acquisition.reset(); // rolls back
    for (QWidget* w :
         std::initializer_list<QWidget*>{m_frames, m_save, m_folder, m_browse, m_start})
        w->setEnabled(true);
    m_progress->setValue(0);
    if (!error.isEmpty())
        OrxDialogs::instance().critical(this, windowTitle(), error);
}

void OrxAcquisitionDialog::reject()
{
    m_acquisition.reset(); // a running acquisition is taken back
    QDialog::reject();
}
