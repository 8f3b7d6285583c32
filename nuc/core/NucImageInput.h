#pragma once

#include "NUShadingParams.h"
#include "NucSeriesSum.h"

#include <QCoreApplication>
#include <QImage>
#include <QImageReader>
#include <QString>

// The two image series (Dark, Bright) with their mean images and the
// size and depth that bind both of them. This is where the loading and removal
// rules live, so the panel and the command-line tool accept and refuse exactly
// the same files with the same texts.
class NucImageInput
{
    Q_DECLARE_TR_FUNCTIONS(NucImageInput)

public:
    enum Series
    {
        Dark,
        Bright
    };

    // What the user is told; the panel shows it as a box of this kind.
    struct Message
    {
        enum Kind
        {
            None,
            Information,
            Critical
        };
        Kind kind = None;
        QString text;
        // Why a file was refused, for the log: the file and what is wrong.
        QString detail;
    };

    // Loads a file as the series expect it. Qt reads 8-bit grey files as
    // Grayscale8, which the series do not take; such images become Indexed8
    // with a grey colour table, losslessly, so ordinary grey files work.
    // A file whose header declares a size beyond NucLimits is refused before
    // it is decoded, as is one that decodes only in part; error then names
    // the file and what is wrong.
    static QImage loadImage(const QString& path, QString* error = nullptr);
    // buffer: an image whose memory the decoder may reuse.
    static QImage readImage(QImageReader& reader, QString* error = nullptr,
                            QImage buffer = QImage());
    static QImage toIndexedGrey(const QImage& grey8);

    // Checks one file against the fixed size and depth and folds it into series
    // which. On refusal returns false and describes why in message.
    bool loadImagefromFile(const QString& path, Series which, Message* message = nullptr);
    // The same for an image already loaded from path with loadImage(), so that
    // decoding can happen elsewhere (a null image stands for a failed load).
    // loadError: why the loader gave a null image, passed on as the detail.
    bool addLoadedImage(const QString& path, QImage image, Series which, Message* message = nullptr,
                        const QString& loadError = QString());

    // Takes a file out of series which again; a file that no longer loads or no
    // longer has the fixed size is left alone.
    void deleteImagefromParams(const QString& path, Series which);

    // After removals: when series which holds no image any more, empties it and
    // its mean image and returns true; when both are empty the size and depth
    // are released too.
    bool releaseIfEmpty(Series which);

    // Both series need an image (a mean image, or a sum when 16-bit series are
    // kept as sums) before a map can be made; otherwise returns false and says
    // which one is missing.
    bool canGenerate(Message* message = nullptr) const;

    // Empties both series and mean images and releases size and depth.
    void reset();

    NUShadingParams* series(Series which);
    QImage* meanImage(Series which);

    NUShadingParams darkParams;
    NUShadingParams brightParams;
    QImage darkMean;
    QImage brightMean;
    // Set before the first image by a caller that never removes an image nor
    // shows a mean (the command-line tool): 16-bit images then go into these
    // exact sums instead of the series and mean images above, and the map is
    // made from them (NucMapPipeline::makeFile). 8-bit images, whose
    // series depend on the order of the images, still go to the series.
    bool sumsOnly = false;
    NucSeriesSum darkSum;
    NucSeriesSum brightSum;
    quint32 width = 0;
    quint32 height = 0;
    quint32 pixelCount = 0;
    int bitDepth = 0;

private:
    // The mean image a series starts with, before its first image is added.
    static QImage firstMeanImage(const QImage& image, int bitDepth);
};
