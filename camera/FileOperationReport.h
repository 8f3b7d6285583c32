#pragma once

#include <QCoreApplication>
#include <QString>

#include <cstdint>

class OxFeatureContainer;

// What a camera says about the File Access operation it completed last:
// "FileOperationStatus" where it has one, and for a Read or Write the bytes
// it moved in "FileOperationResult". Both are selected by
// "FileOperationSelector", so they are read while the operation is still
// selected. A camera without either feature is taken at its execute.
class FileOperationReport
{
    Q_DECLARE_TR_FUNCTIONS(FileOperationReport)

public:
    // Asks once which of the two features the camera has.
    explicit FileOperationReport(OxFeatureContainer& features);

    // Empty when the operation succeeded and, for asked >= 0, moved at least
    // `asked` bytes; otherwise why not. *moved: the bytes the camera says it
    // moved (0 when unknown or failed).
    QString problem(int64_t asked, int64_t* moved = nullptr) const;

private:
    OxFeatureContainer& m_features;
    bool m_hasStatus = false;
    bool m_hasResult = false;
};
