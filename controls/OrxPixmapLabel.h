#pragma once

#include <QImage>
#include <QLabel>

// A label that holds a QImage and shows it scaled to the label's size with its
// aspect ratio kept. The image itself is kept unscaled, so it can be read back
// exactly and rescaled whenever the label is resized. Scaling a camera-sized
// image is costly (Qt spreads it over the global thread pool), so a hidden
// label shows nothing and scales when it is shown.
class OrxPixmapLabel : public QLabel
{
    Q_OBJECT

public:
    explicit OrxPixmapLabel(QWidget* parent = nullptr);

    // A null image empties the label.
    void setImage(const QImage& image);
    QImage image() const { return m_image; }

    // The shown picture follows the label, never the other way round.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void rescale();

    QImage m_image;
};
