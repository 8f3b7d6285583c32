#pragma once

#include <QStringList>

// orvex-nuc info: describes a .bin or .ge3 map file (recognised by its magic)
// or else a float map import file, with statistics of its codes.
int runInfoCommand(const QStringList& arguments);
