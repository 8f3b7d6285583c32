#include "DeviceFileStore.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace hvsim {

namespace {

bool makeFolders(const std::string& path)
{
    std::string partial;
    for (size_t i = 0; i <= path.size(); ++i) {
        if (i == path.size() || (path[i] == '/' && i > 0)) {
            partial = path.substr(0, i);
            if (::mkdir(partial.c_str(), 0755) != 0 && errno != EEXIST)
                return false;
        }
    }
    return true;
}

} // namespace

DeviceFileStore::DeviceFileStore(std::string folder) : m_folder(std::move(folder)) {}

std::string DeviceFileStore::safeName(const std::string& name)
{
    std::string out;
    for (char c : name) {
        bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                     c == '-' || c == '_' || c == '.';
        out += plain ? c : '_';
    }
    if (out.empty() || out[0] == '.')
        out.insert(out.begin(), '_');
    return out;
}

std::string DeviceFileStore::pathOf(const std::string& key) const
{
    return m_folder + "/" + safeName(key);
}

bool DeviceFileStore::exists(const std::string& key) const
{
    struct stat st;
    return ::stat(pathOf(key).c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool DeviceFileStore::load(const std::string& key, std::vector<uint8_t>& bytes) const
{
    FILE* f = std::fopen(pathOf(key).c_str(), "rb");
    if (!f)
        return false;
    std::vector<uint8_t> data;
    uint8_t chunk[65536];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0)
        data.insert(data.end(), chunk, chunk + n);
    bool ok = !std::ferror(f);
    std::fclose(f);
    if (ok)
        bytes.swap(data);
    return ok;
}

bool DeviceFileStore::commit(const std::string& key, const std::vector<uint8_t>& bytes)
{
    if (!makeFolders(m_folder))
        return false;
    ++m_revision;
    const std::string target = pathOf(key);
    const std::string temp = target + ".partial";
    int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0)
        return false;
    size_t done = 0;
    while (done < bytes.size()) {
        ssize_t w = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (w < 0 && errno == EINTR)
            continue;
        if (w <= 0)
            break;
        done += size_t(w);
    }
    bool ok = done == bytes.size() && ::fsync(fd) == 0;
    ok = ::close(fd) == 0 && ok;
    if (ok)
        ok = ::rename(temp.c_str(), target.c_str()) == 0;
    if (!ok)
        ::unlink(temp.c_str());
    return ok;
}

bool DeviceFileStore::remove(const std::string& key)
{
    ++m_revision;
    return ::unlink(pathOf(key).c_str()) == 0 || errno == ENOENT;
}

std::string DeviceFileStore::defaultStateRoot()
{
    if (const char* s = std::getenv("HVX_SIM_STATE"); s && *s)
        return s;
    if (const char* x = std::getenv("XDG_DATA_HOME"); x && *x)
        return std::string(x) + "/orvex-sim";
    const char* home = std::getenv("HOME");
    return std::string(home && *home ? home : "/tmp") + "/.local/share/orvex-sim";
}

} // namespace hvsim
