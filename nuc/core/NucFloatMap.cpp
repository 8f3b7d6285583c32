#include "NucFloatMap.h"

#include "NucLimits.h"

#include <QCoreApplication>
#include <QIODevice>
#include <QtEndian>

#include <new>

static QString tr(const char* text)
{
    return QCoreApplication::translate("NucFloatMap", text);
}

bool NucFloatMap::read(QIODevice& in, QString* error)
{
    auto fail = [error](const QString& text) {
        if (error)
            *error = text;
        return false;
    };
    offsets.reset();
    gains.reset();
    width = height = completePixels = 0;
    trailingBytes = 0;

    const QByteArray header = in.read(8);
    if (header.size() < 8)
        return fail(tr("truncated header: %1 of 8 bytes for width and height").arg(header.size()));
    const quint32 w = qFromLittleEndian<quint32>(header.constData());
    const quint32 h = qFromLittleEndian<quint32>(header.constData() + 4);
    if (!NucLimits::plausibleSize(w, h))
        return fail(tr("implausible declared size %1 x %2: no sensor has more than %3 pixels "
                       "per side or %4 pixels in all")
                        .arg(w)
                        .arg(h)
                        .arg(NucLimits::MaxSide)
                        .arg(NucLimits::MaxPixels));

    const quint32 pixels = w * h;
    offsets.reset(new (std::nothrow) float[pixels]);
    gains.reset(new (std::nothrow) float[pixels]);
    if (!offsets || !gains) {
        offsets.reset();
        gains.reset();
        return fail(tr("cannot allocate maps for %1 x %2 pixels").arg(w).arg(h));
    }
    width = w;
    height = h;

    const qint64 wanted = qint64(pixels) * 8;
    const QByteArray body = in.read(wanted);
    const char* data = body.constData();
    const qint64 available = body.size();
    for (quint32 i = 0; i < pixels; ++i) {
        const qint64 at = qint64(i) * 8;
        offsets[i] = at + 4 <= available ? qFromLittleEndian<float>(data + at) : 0.0f;
        gains[i] = at + 8 <= available ? qFromLittleEndian<float>(data + at + 4) : 1.0f;
    }
    completePixels = quint32(available / 8);
    if (available == wanted) {
        // Only what is left is counted; the device may be a pipe.
        while (!in.atEnd()) {
            const QByteArray rest = in.read(65536);
            if (rest.isEmpty())
                break;
            trailingBytes += rest.size();
        }
    }
    return true;
}

QByteArray NucFloatMap::encode(quint32 width, quint32 height, const float* offsets,
                               const float* gains)
{
    const quint32 pixels = width * height;
    QByteArray out(8 + int(pixels) * 8, '\0');
    char* p = out.data();
    qToLittleEndian(width, p);
    qToLittleEndian(height, p + 4);
    for (quint32 i = 0; i < pixels; ++i) {
        qToLittleEndian(offsets[i], p + 8 + 8 * i);
        qToLittleEndian(gains[i], p + 12 + 8 * i);
    }
    return out;
}
