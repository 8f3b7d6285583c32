#ifndef HVX_INTERNAL_LISTEDENTRY_H
#define HVX_INTERNAL_LISTEDENTRY_H

#include <mutex>

namespace Hvx {
namespace Internal {

// What a module last reported of one of its devices or interfaces, and
// whether it is still listed. Read by any thread, updated by hot plug.
template <typename T> class ListedEntry
{
public:
    explicit ListedEntry(const T& info) : m_info(info) {}

    T Info() const
    {
        std::lock_guard<std::mutex> lock(m_infoMutex);
        return m_info;
    }
    void SetInfo(const T& info)
    {
        std::lock_guard<std::mutex> lock(m_infoMutex);
        m_info = info;
    }
    bool Present() const
    {
        std::lock_guard<std::mutex> lock(m_infoMutex);
        return m_present;
    }
    void SetPresent(bool present)
    {
        std::lock_guard<std::mutex> lock(m_infoMutex);
        m_present = present;
    }

private:
    mutable std::mutex m_infoMutex;
    T m_info;
    bool m_present = true;
};

} // namespace Internal
} // namespace Hvx

#endif
