#include "FileOperationReport.h"

#include "OxFeatureContainer.h"

#include <QVariant>

FileOperationReport::FileOperationReport(OxFeatureContainer& features) : m_features(features)
{
    if (!m_features.HasFeature("FileOperationStatus", m_hasStatus))
        m_hasStatus = false;
    if (!m_features.HasFeature("FileOperationResult", m_hasResult))
        m_hasResult = false;
}

QString FileOperationReport::problem(int64_t asked, int64_t* moved) const
{
    if (moved != nullptr)
        *moved = 0;
    if (m_hasStatus) {
        QVariant status;
        if (!m_features.GetValue("FileOperationStatus", status))
            return tr("its \"FileOperationStatus\" could not be read");
        if (status.toString() != QLatin1String("Success"))
            return tr("the camera reports \"%1\"").arg(status.toString());
    }
    if (asked < 0 || !m_hasResult)
        return QString();
    QVariant result;
    bool isNumber = false;
    const qlonglong done =
        m_features.GetValue("FileOperationResult", result) ? result.toLongLong(&isNumber) : 0;
    if (!isNumber)
        return tr("its \"FileOperationResult\" could not be read");
    if (moved != nullptr)
        *moved = qMax<qlonglong>(0, qMin<qlonglong>(done, asked));
    // A camera with a fixed-length buffer moves its whole length for a
    // shorter last chunk; more than asked is fine.
    if (done < asked)
        return tr("the camera moved %1 of %2 bytes").arg(done).arg(asked);
    return QString();
}
