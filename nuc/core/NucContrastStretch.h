#pragma once

#include <QImage>

// A mean image made visible: the grey levels between its darkest and its
// brightest half per cent of pixels spread over the whole 8-bit range. A dark
// mean image of a lens-capped camera, which holds a few grey levels near 0,
// is otherwise solid black on screen.
namespace NucContrastStretch {

// An 8-bit grey copy of a Grayscale8 or Grayscale16 image (other formats are
// taken as 8-bit grey); an image of a single grey level becomes mid grey.
// Only for display: the series never see it.
QImage stretched(const QImage& image);

} // namespace NucContrastStretch
