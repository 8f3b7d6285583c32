#include "SimTrace.h"

namespace hvsim {

void SimTrace::add(TraceEntry e)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_entries.size() >= kMaxEntries)
        m_entries.erase(m_entries.begin(), m_entries.begin() + kMaxEntries / 2);
    m_entries.push_back(std::move(e));
}

std::vector<TraceEntry> SimTrace::entries() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_entries;
}

void SimTrace::clear()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_entries.clear();
}

} // namespace hvsim
