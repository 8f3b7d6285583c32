#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace hvsim {

// The non-volatile files of one camera, kept as plain files in a folder of
// the state directory. A commit replaces a file atomically (temporary file,
// flush, rename), so a crash or a refused upload never leaves a file
// half-written.
class DeviceFileStore
{
public:
    explicit DeviceFileStore(std::string folder);

    const std::string& folder() const { return m_folder; }

    bool exists(const std::string& key) const;
    bool load(const std::string& key, std::vector<uint8_t>& bytes) const;
    bool commit(const std::string& key, const std::vector<uint8_t>& bytes);
    bool remove(const std::string& key);

    std::string pathOf(const std::string& key) const;

    // Counts the commits and removals made through this store, so a reader
    // can tell that what it took from a file may have changed.
    uint64_t revision() const { return m_revision; }

    // HVX_SIM_STATE, else $XDG_DATA_HOME/orvex-sim, else ~/.local/share/orvex-sim.
    static std::string defaultStateRoot();
    // A folder name safe for any camera or file name.
    static std::string safeName(const std::string& name);

private:
    std::string m_folder;
    uint64_t m_revision = 0;
};

} // namespace hvsim
