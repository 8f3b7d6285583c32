// Runs a fuzz target's entry point over every file of the given folders,
// without libFuzzer: the seed corpus and every input that once failed stay
// part of the normal test suite.
#include <QDirIterator>
#include <QFile>

#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv)
{
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        QDirIterator it(QString::fromLocal8Bit(argv[i]), QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QFile file(it.next());
            if (!file.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "cannot read %s\n", qPrintable(file.fileName()));
                return 1;
            }
            const QByteArray bytes = file.readAll();
            std::fprintf(stderr, "%s\n", qPrintable(file.fileName()));
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.constData()),
                                   size_t(bytes.size()));
            ++inputs;
        }
    }
    std::fprintf(stderr, "%d inputs replayed\n", inputs);
    // A folder that went missing would otherwise pass unnoticed.
    return inputs > 0 ? 0 : 1;
}
