// File bytes given to `orvex-nuc info`: the .bin and .ge3 readers and the
// float map reader behind it, with the command's own output code.
#include "FuzzCheck.h"
#include "InfoCommand.h"
#include "NucMapFile.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QStringList>

#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

QString scratchFile()
{
    static const QString path = [] {
        // The description goes to standard output; only the verdict matters here.
        const int null = ::open("/dev/null", O_WRONLY);
        if (null >= 0) {
            ::dup2(null, STDOUT_FILENO);
            ::close(null);
        }
        return QDir::temp().filePath(QString("orvex-fuzz-info-%1.map").arg(::getpid()));
    }();
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString path = scratchFile();
    const QByteArray bytes(reinterpret_cast<const char*>(data), int(size));
    {
        QFile file(path);
        FUZZ_CHECK(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        FUZZ_CHECK(file.write(bytes) == bytes.size());
    }
    const QStringList depth = (size % 2) ? QStringList{"--depth", "16"} : QStringList{};
    const int status = runInfoCommand(QStringList{"orvex-nuc", "info"} + depth + QStringList{path});
    // 0: a sound map; 1: refused. Never a usage error for a readable file.
    FUZZ_CHECK(status == 0 || status == 1);
    if (status == 0 && NucMapFile::hasMagic(bytes)) {
        NucMapFile::Info info;
        FUZZ_CHECK(NucMapFile::parse(bytes, &info, nullptr));
        FUZZ_CHECK(info.kind == NucMapFile::Kind::UserMap || info.checksumHolds);
        // A sound .bin is exactly the file the program itself writes (which
        // always leaves the reserved field 0).
        if (info.kind == NucMapFile::Kind::Bin && info.reserved == 0)
            FUZZ_CHECK(NucMapFile::binFile(info.blockId, info.width, info.height, info.words) ==
                       bytes);
    }
    QFile::remove(path);
    return 0;
}
