#pragma once

// Helpers shared by the simulator's tests: a fresh state folder per test and
// a File Access client that issues the same feature sequence as the
// program's camera wrapper does for uploads and downloads.

#include "SimFeatureSet.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace simtest {

// A new empty folder below the test's temporary directory.
inline std::string freshFolder(const char* tag)
{
    const char* base = std::getenv("ORVEX_TEST_TMP");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/" + tag + ".XXXXXX";
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
    const char* made = ::mkdtemp(buf.data());
    return made ? std::string(made) : std::string();
}

struct TransferResult
{
    bool ok = false;
    long bytes = 0;
};

// Chunked upload: selector, name, open for writing, FileAccessLength once
// (and again for a short last chunk), offset/buffer/Write per chunk, close.
inline TransferResult upload(hvsim::SimFeatureSet& fs, const std::vector<uint8_t>& data,
                             const std::string& fileName, const std::string& selector)
{
    using namespace hvsim;
    TransferResult r;
    if (data.empty() || fs.setEnum("FileSelector", selector) != Ok)
        return r;
    if (fs.has("Filename") && fs.setString("Filename", fileName) != Ok)
        return r;
    if (fs.setEnum("FileOpenMode", "Write") != Ok ||
        fs.setEnum("FileOperationSelector", "Open") != Ok ||
        fs.runCommand("FileOperationExecute") != Ok)
        return r;
    const int64_t chunk = std::min<int64_t>(int64_t(data.size()), 65536);
    FeatureType t;
    Access a = Access::None;
    bool lengthWritable = fs.info("FileAccessLength", t, a) == Ok && isWritable(a);
    int64_t offset = 0;
    bool lengthOk = !lengthWritable || fs.setInt("FileAccessLength", chunk) == Ok;
    for (int64_t remaining = int64_t(data.size()); lengthOk && remaining > 0;) {
        int64_t length = std::min(chunk, remaining);
        if (fs.setInt("FileAccessOffset", offset) != Ok)
            break;
        if (length < chunk && lengthWritable && fs.setInt("FileAccessLength", length) != Ok)
            break;
        if (fs.setRegister("FileAccessBuffer", data.data() + offset, size_t(length)) != Ok)
            break;
        if (fs.setEnum("FileOperationSelector", "Write") != Ok)
            break;
        if (fs.runCommand("FileOperationExecute") != Ok)
            break;
        remaining -= length;
        offset += length;
    }
    if (fs.setEnum("FileOperationSelector", "Close") != Ok ||
        fs.runCommand("FileOperationExecute") != Ok)
        return r;
    r.ok = true;
    r.bytes = long(offset);
    return r;
}

inline TransferResult download(hvsim::SimFeatureSet& fs, std::vector<uint8_t>& out,
                               const std::string& fileName, const std::string& selector)
{
    using namespace hvsim;
    TransferResult r;
    out.clear();
    if (fs.setEnum("FileSelector", selector) != Ok)
        return r;
    if (fs.has("Filename") && fs.setString("Filename", fileName) != Ok)
        return r;
    if (fs.setEnum("FileOpenMode", "Read") != Ok ||
        fs.setEnum("FileOperationSelector", "Open") != Ok ||
        fs.runCommand("FileOperationExecute") != Ok)
        return r;
    int64_t size = -1;
    if (fs.getInt("FileSize", size) != Ok || size < 0) {
        fs.setEnum("FileOperationSelector", "Close");
        fs.runCommand("FileOperationExecute");
        return r;
    }
    const int64_t chunk = std::min<int64_t>(size, 65536);
    FeatureType t;
    Access a = Access::None;
    bool lengthWritable = fs.info("FileAccessLength", t, a) == Ok && isWritable(a);
    if (lengthWritable && chunk > 0 && fs.setInt("FileAccessLength", chunk) != Ok)
        return r;
    bool failed = false;
    for (int64_t offset = 0, remaining = size; remaining > 0;) {
        int64_t length = std::min(remaining, chunk);
        std::vector<uint8_t> buffer;
        if (fs.setInt("FileAccessOffset", offset) != Ok ||
            (length != chunk && lengthWritable && fs.setInt("FileAccessLength", length) != Ok) ||
            fs.setEnum("FileOperationSelector", "Read") != Ok ||
            fs.runCommand("FileOperationExecute") != Ok ||
            fs.getRegister("FileAccessBuffer", buffer) != Ok) {
            failed = true;
            break;
        }
        out.insert(out.end(), buffer.begin(), buffer.begin() + length);
        r.bytes += long(length);
        offset += length;
        remaining -= length;
    }
    bool closed = fs.setEnum("FileOperationSelector", "Close") == Ok &&
                  fs.runCommand("FileOperationExecute") == Ok;
    r.ok = !failed && closed;
    return r;
}

// A shading map file of the given size whose words follow a pattern, so a
// round trip that mixes up chunks shows.
inline std::vector<uint16_t> patternWords(uint32_t width, uint32_t height, uint16_t seed)
{
    std::vector<uint16_t> words(size_t(width) * height);
    for (size_t i = 0; i < words.size(); ++i)
        words[i] = uint16_t((i * 2654435761u + seed) >> 7);
    return words;
}

} // namespace simtest
