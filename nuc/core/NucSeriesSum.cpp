#include "NucSeriesSum.h"

#include "NucKernels.h"
#include "NucLargeBuffer.h"

bool NucSeriesSum::add(const QImage& image)
{
    if (image.format() != QImage::Format_Grayscale16 || images >= MaxImages)
        return false;
    const quint32 w = quint32(image.width());
    const quint32 h = quint32(image.height());
    const auto* samples = reinterpret_cast<const quint16*>(image.constBits());
    if (images == 0) {
        // Written in full by the first image, so never zeroed.
        sums.reset(NucLargeBuffer::allocate<quint32>(size_t(w) * h, false));
        if (!sums)
            return false;
        columns = w;
        rows = h;
        NucKernels::sumStart16(sums.get(), samples, pixels());
    } else {
        if (w != columns || h != rows)
            return false;
        NucKernels::sumAdd16(sums.get(), samples, pixels());
    }
    ++images;
    return true;
}

std::unique_ptr<quint32[]> NucSeriesSum::take()
{
    images = columns = rows = 0;
    return std::move(sums);
}
