#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <random>

// The faults a soak cycle injects into one transfer, as the simulator's
// "faults" object: a failing open, chunk, buffer access or close, a chunk or
// close that fails only in its reported status, a chunk that moves fewer
// bytes, a close that hangs, commands that never complete, a camera that
// drops off.
namespace SoakFaults {

struct Fault
{
    QString kind; // one of kinds(), or "none"
    QJsonObject faults;
};

QStringList kinds();

// Half of the transfers run without a fault; the others get one kind, chosen
// evenly, at a random chunk where the kind has one. chunks: the transfer's
// chunk count; upload: a Write transfer, else a Read one.
Fault pick(std::mt19937_64& random, bool upload, int chunks);

} // namespace SoakFaults
