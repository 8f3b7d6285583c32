#include "NucAcquisition.h"

#include "NucFrame.h"
#include "NucImageInput.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

NucLevel NucLevel::of(const QImage& frame, int fullScale)
{
    NucLevel level;
    const qint64 n = qint64(frame.width()) * frame.height();
    if (n == 0 || fullScale <= 0)
        return level;
    double sum = 0.0;
    qint64 saturated = 0;
    const bool wide = frame.format() == QImage::Format_Grayscale16;
    for (int y = 0; y < frame.height(); ++y) {
        const uchar* line = frame.constScanLine(y);
        for (int x = 0; x < frame.width(); ++x) {
            const int v = wide ? reinterpret_cast<const quint16*>(line)[x] : line[x];
            sum += v;
            saturated += v >= fullScale;
        }
    }
    level.mean = sum / double(n) / fullScale;
    level.saturated = double(saturated) / double(n);
    return level;
}

QString NucLevel::brightWarning() const
{
    const QString figures = tr("The mean is %1 % of full scale and %2 % of the pixels are "
                               "saturated.")
                                .arg(100.0 * mean, 0, 'f', 1)
                                .arg(100.0 * saturated, 0, 'f', 2);
    if (saturated > 0.001)
        return figures + ' ' +
               tr("More than 0.1 % saturated pixels: shorten the exposure or lower the gain.");
    if (mean < 0.30)
        return figures + ' ' + tr("Below 30 % of full scale: lengthen the exposure or add light.");
    if (mean > 0.80)
        return figures + ' ' +
               tr("Above 80 % of full scale: shorten the exposure or lower the gain.");
    return QString();
}

NucAcquisition::NucAcquisition(NucImageInput& input, NucImageInput::Series which, int frames,
                               const QString& saveFolder, const QString& source)
    : m_input(input), m_which(which), m_frames(frames), m_folder(saveFolder), m_source(source),
      m_width(input.width), m_height(input.height), m_pixelCount(input.pixelCount),
      m_bitDepth(input.bitDepth), m_saved(false)
{
    if (NUShadingParams* series = input.series(which)) {
        m_saved = m_series.copyRunningMeanFrom(*series);
        m_mean = *input.meanImage(which);
    }
}

NucAcquisition::~NucAcquisition()
{
    rollback();
}

bool NucAcquisition::add(const QImage& frame, QString* error)
{
    if (!m_saved) {
        if (error)
            *error = tr("Not enough memory to keep the series as it was for a cancel.");
        return false;
    }
    const int k = added() + 1;
    QString item = tr("Camera frame %1 of %2").arg(k).arg(m_frames);
    if (!m_source.isEmpty())
        item += QString(" (%1)").arg(m_source);
    if (!m_folder.isEmpty()) {
        item = QDir(m_folder).absoluteFilePath(NucFrame::fileName(k));
        if (!NucFrame::savePng(frame, item, error))
            return false;
        m_written << item;
    }
    NucImageInput::Message message;
    if (!m_input.addLoadedImage(item, frame, m_which, &message)) {
        if (error)
            *error = message.text;
        if (!m_folder.isEmpty())
            QFile::remove(m_written.takeLast());
        return false;
    }
    m_items << item;
    return true;
}

void NucAcquisition::commit()
{
    m_open = false;
}

void NucAcquisition::rollback()
{
    if (!m_open)
        return;
    m_open = false;
    // A refused frame may have fixed the size and depth; a series that took
    // no frame is as it was.
    NUShadingParams* series = m_input.series(m_which);
    if (series && m_saved && !m_items.isEmpty()) {
        series->copyRunningMeanFrom(m_series);
        *m_input.meanImage(m_which) = m_mean;
    }
    m_input.width = m_width;
    m_input.height = m_height;
    m_input.pixelCount = m_pixelCount;
    m_input.bitDepth = m_bitDepth;
    for (const QString& path : m_written)
        QFile::remove(path);
    m_items.clear();
    m_written.clear();
}

bool NucAcquisition::prepareFolder(const QString& folder, QString* error)
{
    const QFileInfo info(folder);
    if (info.exists() && !info.isDir()) {
        if (error)
            *error = tr("%1 is not a folder").arg(folder);
        return false;
    }
    if (!QDir().mkpath(folder)) {
        if (error)
            *error = tr("%1: cannot make the folder").arg(folder);
        return false;
    }
    if (!QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden).isEmpty()) {
        if (error)
            *error = tr("%1 already holds files; choose an empty folder").arg(folder);
        return false;
    }
    return true;
}
