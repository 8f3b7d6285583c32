#pragma once

#include "SimFeatureSet.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace hvsim::gev {

// Where one feature of the camera lives in the device's memory map, for the
// GenICam description: its value register and the registers that publish
// its range and its availability as they are at the moment they are read.
struct FeatureLayout
{
    struct Entry
    {
        std::string name;
        int64_t value = 0;
        uint32_t available = 0; // register of the entry's availability; 0: always available
    };

    std::string name;
    FeatureType type = FeatureType::Integer;
    Access access = Access::ReadWrite; // as declared
    bool dynamicAccess = false;        // access follows the camera's state
    uint32_t value = 0;                // address of the value register
    uint32_t length = 0;               // its length in bytes
    uint32_t min = 0, max = 0, inc = 0;
    uint32_t available = 0, locked = 0; // for features whose access changes
    std::vector<Entry> entries;
};

// The camera's features laid out as big-endian registers from kBase on.
// Integers, floats and enumerations take 8 bytes, booleans and commands 4
// (a command's register reads 1 until the command is done), strings their
// maximum length plus a terminating zero, registers their own length.
// Every read and write goes through the camera's feature set, so whatever
// the camera does on a feature operation happens on the wire too.
class FeatureRegisters
{
public:
    static constexpr uint32_t kBase = 0x00200000;
    static constexpr uint32_t kEnd = 0x10000000;

    explicit FeatureRegisters(SimFeatureSet& features);

    const std::vector<FeatureLayout>& layout() const { return m_layout; }
    static bool inArea(uint32_t address) { return address >= kBase && address < kEnd; }

    // The feature whose register holds `address`; empty when none does.
    std::string featureAt(uint32_t address) const;

    Status read(uint32_t address, uint8_t* out, uint32_t length);
    // `executed` names the command a write ran, if any.
    Status write(uint32_t address, const uint8_t* data, uint32_t length, std::string* executed);

private:
    enum class Part
    {
        Value,
        Min,
        Max,
        Inc,
        Available,
        Locked,
        EntryAvailable,
    };
    struct Cell
    {
        std::string feature;
        FeatureType type;
        Part part;
        uint32_t address;
        uint32_t length;
        int entry = -1;
    };

    uint32_t place(const std::string& feature, FeatureType type, Part part, uint32_t length,
                   int entry = -1);
    const Cell* cellAt(uint32_t address) const;
    Status readCell(const Cell& cell, std::vector<uint8_t>& bytes);
    Status writeValue(const Cell& cell, uint32_t offset, const uint8_t* data, uint32_t length,
                      std::string* executed);

    SimFeatureSet& m_features;
    std::vector<FeatureLayout> m_layout;
    std::map<uint32_t, Cell> m_cells; // by address
    uint32_t m_next = kBase;
};

} // namespace hvsim::gev
