#pragma once

#include <QCoreApplication>

#include <memory>

// The application object of orvex-nuc: a plain core application, unless the
// command line asks for a report drawn with Qt's painter (verify --report),
// which needs the font database of a GUI application. That one runs on the
// offscreen platform, so no display is needed.
std::unique_ptr<QCoreApplication> makeCliApplication(int& argc, char** argv);
