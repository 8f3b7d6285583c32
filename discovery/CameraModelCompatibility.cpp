#include "CameraModelCompatibility.h"

#include <QPair>
#include <QRegularExpression>
#include <QVector>

namespace {

using FamilyPattern = QPair<QString, QRegularExpression>;

// Order matters: the first matching family wins. Only some patterns are
// anchored at the end; the others deliberately accept trailing variant
// suffixes (kva123MXGE-B is a kva camera). Do not tighten or loosen them.
QVector<FamilyPattern> buildPatterns()
{
    return {
        {QStringLiteral("kva"),
         QRegularExpression(QStringLiteral("^kva\\d{3}[MC](XGE|25GE|100GE_RDMA|LV)"))},
        {QStringLiteral("zt"), QRegularExpression(QStringLiteral("^zt\\d+[MC](LV|100GE_RDMA)"))},
        {QStringLiteral("wmq"), QRegularExpression(QStringLiteral("^wmq\\d+[MC]LV$"))},
        {QStringLiteral("Tamira"), QRegularExpression(QStringLiteral("^Tamira[\\d.]+[MC]LV12$"))},
        {QStringLiteral("K-R284"), QRegularExpression(QStringLiteral("^K-R284(-C)?$"))},
        {QStringLiteral("LV"), QRegularExpression(QStringLiteral("^LV-\\d+M$"))},
        {QStringLiteral("DuneTrack"), QRegularExpression(QStringLiteral("^DuneTrack-GQX"))},
        {QStringLiteral("LV3"), QRegularExpression(QStringLiteral("^LV3-"))},
        {QStringLiteral("nyr"), QRegularExpression(QStringLiteral("^nyr"))},
        {QStringLiteral("tef"), QRegularExpression(QStringLiteral("^tef"))},
        {QStringLiteral("RD-QK"), QRegularExpression(QStringLiteral("^RD-QK"))},
    };
}

} // namespace

bool IsCameraModelCompatible(const QString& model, QString& family)
{
    // A function-local static is initialised exactly once even when the first
    // calls race (the refresh worker and the GUI thread both call this).
    static const QVector<FamilyPattern> kPatterns = buildPatterns();

    for (const FamilyPattern& row : kPatterns) {
        if (row.second.match(model).hasMatch()) {
            family = row.first;
            return true;
        }
    }
    family.clear();
    return false;
}
