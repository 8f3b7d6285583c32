#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace hvsim {

// One feature operation as a program issued it.
struct TraceEntry
{
    std::string scope;   // "camera" or "stream<N>"
    std::string feature; // feature name as asked for
    std::string op;      // "get", "set", "execute", "isdone"
    std::string value;   // value read or written as text; byte count for registers
    int status = 0;      // result handed back
};

// Per-camera record of feature operations, so tests can check the order and
// number of writes a transfer issues. Thread-safe; bounded so a long demo run
// cannot grow without limit.
class SimTrace
{
public:
    void add(TraceEntry e);
    std::vector<TraceEntry> entries() const;
    void clear();

    static constexpr size_t kMaxEntries = 200000;

private:
    mutable std::mutex m_mutex;
    std::vector<TraceEntry> m_entries;
};

} // namespace hvsim
