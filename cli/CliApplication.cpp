#include "CliApplication.h"

#include <QGuiApplication>

#include <cstring>

std::unique_ptr<QCoreApplication> makeCliApplication(int& argc, char** argv)
{
    bool draws = false;
    for (int i = 1; i < argc; ++i)
        draws = draws || std::strcmp(argv[i], "--report") == 0 ||
                std::strncmp(argv[i], "--report=", 9) == 0;
    if (!draws)
        return std::make_unique<QCoreApplication>(argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    return std::make_unique<QGuiApplication>(argc, argv);
}
