#include "OrxMapView.h"

#include "NucMapFile.h"
#include "OrxCodePlots.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <cmath>

namespace {

constexpr double ZoomStep = 1.25;
constexpr double MinZoom = 1.0 / 64;
constexpr double MaxZoom = 32.0;

// One code field of the words as an image in the colour scale, and how many
// pixels have each code.
QImage codeImage(const QVector<quint16>& words, quint32 width, quint32 height, int shift,
                 quint32 top, QVector<quint32>* counts)
{
    counts->fill(0, int(top) + 1);
    QImage image(int(width), int(height), QImage::Format_Indexed8);
    if (image.isNull())
        return image;
    image.setColorTable(mapCodeColours());
    for (quint32 y = 0; y < height; ++y) {
        uchar* line = image.scanLine(int(y));
        const quint16* row = words.constData() + quint64(y) * width;
        for (quint32 x = 0; x < width; ++x) {
            const quint32 code = (quint32(row[x]) >> shift) & top;
            ++(*counts)[int(code)];
            line[x] = uchar(code * 255 / top);
        }
    }
    return image;
}

} // namespace

OrxMapView::OrxMapView(QWidget* parent) : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("OrxMapView"));
    setWindowTitle(tr("Map View"));

    m_source = new QLabel(this);
    m_source->setObjectName(QStringLiteral("lblMapSource"));
    m_source->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_zoomText = new QLabel(this);
    m_zoomText->setObjectName(QStringLiteral("lblZoom"));

    auto* zoomRow = new QHBoxLayout;
    zoomRow->addWidget(m_source, 1);
    auto addZoomButton = [&](const QString& text, const QKeySequence& keys, auto slot) {
        auto* action = new QAction(text, this);
        action->setShortcut(keys);
        action->setToolTip(
            QStringLiteral("%1 (%2)").arg(text, keys.toString(QKeySequence::NativeText)));
        connect(action, &QAction::triggered, this, slot);
        addAction(action);
        auto* button = new QToolButton(this);
        button->setDefaultAction(action);
        zoomRow->addWidget(button);
    };
    addZoomButton(tr("Zoom In"), QKeySequence::ZoomIn, [this] { setZoom(m_zoom * ZoomStep); });
    addZoomButton(tr("Zoom Out"), QKeySequence::ZoomOut, [this] { setZoom(m_zoom / ZoomStep); });
    addZoomButton(tr("Actual Size"), QKeySequence(Qt::CTRL + Qt::Key_1), [this] { setZoom(1.0); });
    addZoomButton(tr("Fit"), QKeySequence(Qt::CTRL + Qt::Key_0), [this] { zoomToFit(); });
    zoomRow->addWidget(m_zoomText);

    auto* panes = new QHBoxLayout;
    panes->addWidget(buildPane(m_gain, tr("Gain code (gain = 1 + code / 1024)"),
                               NucMapStatistics::GainTop, QStringLiteral("Gain")));
    panes->addWidget(buildPane(m_offset, tr("Offset code (offset = code x 4 grey levels)"),
                               NucMapStatistics::OffsetTop, QStringLiteral("Offset")));
    // Both images show the same part of the map.
    for (Qt::Orientation orientation : {Qt::Horizontal, Qt::Vertical}) {
        auto bar = [orientation](QScrollArea* area) {
            return orientation == Qt::Horizontal ? area->horizontalScrollBar()
                                                 : area->verticalScrollBar();
        };
        connect(bar(m_gain.scroll), &QScrollBar::valueChanged, bar(m_offset.scroll),
                &QScrollBar::setValue);
        connect(bar(m_offset.scroll), &QScrollBar::valueChanged, bar(m_gain.scroll),
                &QScrollBar::setValue);
    }

    m_warningText = new QLabel(this);
    m_warningText->setObjectName(QStringLiteral("lblWarnings"));
    m_warningText->setWordWrap(true);
    m_warningText->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(zoomRow);
    layout->addLayout(panes, 1);
    layout->addWidget(m_warningText);
    resize(900, 640);
}

QWidget* OrxMapView::buildPane(Pane& pane, const QString& title, quint32 top, const QString& name)
{
    // A heading of its own rather than a group box title, which the style
    // may cut short.
    auto* box = new QFrame(this);
    box->setFrameShape(QFrame::StyledPanel);
    auto* heading = new QLabel(QStringLiteral("<b>%1</b>").arg(title.toHtmlEscaped()), box);
    pane.scroll = new QScrollArea(box);
    pane.scroll->setAlignment(Qt::AlignCenter);
    pane.scroll->setBackgroundRole(QPalette::Dark);
    pane.scroll->viewport()->installEventFilter(this);
    pane.image = new QLabel;
    pane.image->setObjectName("lbl" + name + "Image");
    pane.scroll->setWidget(pane.image);
    pane.histogram = new OrxCodeHistogram(top, box);
    pane.histogram->setObjectName("histogram" + name);
    pane.statistics = new QLabel(box);
    pane.statistics->setObjectName("lbl" + name + "Statistics");
    pane.statistics->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto* layout = new QVBoxLayout(box);
    layout->addWidget(heading);
    layout->addWidget(pane.scroll, 1);
    layout->addWidget(new OrxColourBar(top, box));
    layout->addWidget(pane.histogram);
    layout->addWidget(pane.statistics);
    return box;
}

void OrxMapView::setMap(const QVector<quint16>& words, quint32 width, quint32 height,
                        const QString& source, const QStringList& moreWarnings)
{
    if (quint64(width) * height != quint64(words.size()))
        width = height = 0;
    setWindowTitle(tr("Map View - %1").arg(source));
    m_source->setText(
        tr("<b>%1</b><br>%2 x %3 pixels").arg(source.toHtmlEscaped()).arg(width).arg(height));

    m_statistics = NucMapStatistics::of(words);
    QVector<quint32> counts;
    m_gain.codes = codeImage(words, width, height, 0, NucMapStatistics::GainTop, &counts);
    m_gain.histogram->setCounts(counts);
    m_offset.codes = codeImage(words, width, height, 10, NucMapStatistics::OffsetTop, &counts);
    m_offset.histogram->setCounts(counts);
    m_gain.statistics->setText(
        NucMapStatistics::describe(m_statistics.gain, NucMapStatistics::GainTop));
    m_offset.statistics->setText(
        NucMapStatistics::describe(m_statistics.offset, NucMapStatistics::OffsetTop));

    m_warnings = m_statistics.warnings() + moreWarnings;
    if (m_warnings.isEmpty()) {
        m_warningText->setStyleSheet(QString());
        m_warningText->setText(tr("No warnings: the codes look like a usable map."));
    } else {
        m_warningText->setStyleSheet(
            QStringLiteral("QLabel { background: #fff3cd; color: #664d03; padding: 6px; }"));
        QString html = tr("<b>Warnings:</b>");
        for (const QString& warning : m_warnings)
            html += QStringLiteral("<br>&bull; ") + warning.toHtmlEscaped();
        m_warningText->setText(html);
    }
    m_fit = true;
    showZoomed();
}

bool OrxMapView::openFile(const QString& path, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error =
                QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), file.errorString());
        return false;
    }
    NucMapFile::Info info;
    QString why;
    if (!NucMapFile::parse(file.readAll(), &info, &why)) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), why);
        return false;
    }
    setMap(info.words, info.width, info.height, QDir::toNativeSeparators(path));
    return true;
}

void OrxMapView::setZoom(double zoom)
{
    m_fit = false;
    m_zoom = qBound(MinZoom, zoom, MaxZoom);
    showZoomed();
}

void OrxMapView::zoomToFit()
{
    m_fit = true;
    showZoomed();
}

void OrxMapView::showZoomed()
{
    const QSize size = m_gain.codes.size();
    if (m_fit && !size.isEmpty()) {
        const QSize room = m_gain.scroll->viewport()->size() - QSize(2, 2);
        m_zoom = qBound(
            MinZoom,
            std::min(double(room.width()) / size.width(), double(room.height()) / size.height()),
            MaxZoom);
    }
    const QSize shown(std::max(1, int(std::lround(size.width() * m_zoom))),
                      std::max(1, int(std::lround(size.height() * m_zoom))));
    for (Pane* pane : {&m_gain, &m_offset}) {
        if (pane->codes.isNull()) {
            pane->image->clear();
            continue;
        }
        // Nearest neighbour: zoomed in, each map pixel stays a sharp square.
        pane->image->setPixmap(QPixmap::fromImage(
            pane->codes.scaled(shown, Qt::IgnoreAspectRatio, Qt::FastTransformation)));
        pane->image->resize(shown);
    }
    m_zoomText->setText(QStringLiteral("%1 %").arg(m_zoom * 100.0, 0, 'f', m_zoom < 1 ? 1 : 0));
}

bool OrxMapView::eventFilter(QObject* watched, QEvent* event)
{
    // A fitted map follows the room the layout gives it.
    if (event->type() == QEvent::Resize && m_fit)
        showZoomed();
    // Ctrl and the wheel zoom, as in image viewers; the wheel alone scrolls.
    if (event->type() == QEvent::Wheel) {
        auto* wheel = static_cast<QWheelEvent*>(event);
        if (wheel->modifiers() & Qt::ControlModifier) {
            setZoom(wheel->angleDelta().y() > 0 ? m_zoom * ZoomStep : m_zoom / ZoomStep);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}
