#pragma once

#include <QStringList>

// orvex-nuc generate: loads dark and bright images under the panel's rules,
// generates the map and writes it as a .bin map file or a .ge3 user map file.
int runGenerateCommand(const QStringList& arguments);
