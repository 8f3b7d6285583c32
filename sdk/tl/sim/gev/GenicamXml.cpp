#include "GenicamXml.h"

#include <cstdio>
#include <map>
#include <set>
#include <sstream>

namespace hvsim::gev {

namespace {

std::string escaped(const std::string& text)
{
    std::string out;
    for (char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string hex(uint32_t v)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%X", v);
    return text;
}

bool startsWith(const std::string& s, const char* prefix)
{
    return s.rfind(prefix, 0) == 0;
}

// Categories in the order a client shows them; every feature lands in one.
const char* const kCategories[] = {"DeviceControl",         "ImageFormatControl",
                                   "AcquisitionControl",    "AnalogControl",
                                   "TransportLayerControl", "UserSetControl",
                                   "FileAccessControl",     "CameraSpecificControl"};

std::string categoryOf(const std::string& name)
{
    static const std::set<std::string> image{"Width",     "Height",  "SensorWidth",
                                             "SensorHeight", "PixelFormat", "ReverseX",
                                             "ReverseY",  "OffsetX", "OffsetY"};
    if (startsWith(name, "Device"))
        return "DeviceControl";
    if (image.count(name))
        return "ImageFormatControl";
    if (startsWith(name, "Acquisition") || startsWith(name, "Exposure"))
        return "AcquisitionControl";
    if (startsWith(name, "Gain") || startsWith(name, "BlackLevel"))
        return "AnalogControl";
    if (name == "TLParamsLocked" || name == "PayloadSize" || startsWith(name, "Gev"))
        return "TransportLayerControl";
    if (startsWith(name, "UserSet"))
        return "UserSetControl";
    if (startsWith(name, "File"))
        return "FileAccessControl";
    return "CameraSpecificControl";
}

// What each selector of the standard feature naming selects.
const std::map<std::string, std::vector<std::string>>& selectors()
{
    static const std::map<std::string, std::vector<std::string>> table{
        {"FileSelector",
         {"FileOperationSelector", "FileOperationExecute", "FileOpenMode", "FileAccessBuffer",
          "FileAccessOffset", "FileAccessLength", "FileOperationStatus", "FileOperationResult",
          "FileSize", "FileChunkId"}},
        {"FileOperationSelector",
         {"FileOperationExecute", "FileAccessOffset", "FileAccessLength", "FileOperationStatus",
          "FileOperationResult"}},
        {"UserSetSelector", {"UserSetLoad", "UserSetSave"}},
    };
    return table;
}

const char* accessText(Access a)
{
    switch (a) {
    case Access::ReadOnly:
        return "RO";
    case Access::WriteOnly:
        return "WO";
    default:
        return "RW";
    }
}

class Writer
{
public:
    std::ostringstream out;

    void reg(const char* element, const std::string& name, uint32_t address, uint32_t length,
             const char* access, bool integer)
    {
        out << "  <" << element << " Name=\"" << escaped(name) << "\">\n"
            << "    <Address>" << hex(address) << "</Address>\n"
            << "    <Length>" << length << "</Length>\n"
            << "    <AccessMode>" << access << "</AccessMode>\n"
            << "    <pPort>Device</pPort>\n"
            << "    <Cachable>NoCache</Cachable>\n";
        if (integer)
            out << "    <Sign>Signed</Sign>\n";
        out << "    <Endianess>BigEndian</Endianess>\n"
            << "  </" << element << ">\n";
    }

    // The elements every feature node starts with.
    void head(const FeatureLayout& f, const std::vector<std::string>& selected)
    {
        if (f.available) {
            out << "    <pIsAvailable>" << escaped(f.name) << "_Available</pIsAvailable>\n"
                << "    <pIsLocked>" << escaped(f.name) << "_Locked</pIsLocked>\n";
        }
        for (const auto& s : selected)
            out << "    <pSelected>" << escaped(s) << "</pSelected>\n";
    }
};

} // namespace

std::string genicamXml(const CameraConfig& camera, const std::vector<FeatureLayout>& features)
{
    std::set<std::string> present;
    for (const auto& f : features)
        present.insert(f.name);

    Writer w;
    std::ostringstream& out = w.out;
    out << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
        << "<RegisterDescription ModelName=\"" << escaped(camera.model) << "\" VendorName=\""
        << escaped(camera.vendor)
        << "\" ToolTip=\"Simulated camera\" StandardNameSpace=\"None\""
           " SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\""
           " MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\""
           " ProductGuid=\"6a4b3e9c-1d2f-4c71-9a0e-5f3b2d1c0e01\""
           " VersionGuid=\"6a4b3e9c-1d2f-4c71-9a0e-5f3b2d1c0e02\""
           " xmlns=\"http://www.genicam.org/GenApi/Version_1_1\""
           " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
           " xsi:schemaLocation=\"http://www.genicam.org/GenApi/Version_1_1"
           " http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd\">\n";

    std::map<std::string, std::vector<std::string>> byCategory;
    for (const auto& f : features)
        byCategory[categoryOf(f.name)].push_back(f.name);
    out << "  <Category Name=\"Root\" NameSpace=\"Standard\">\n";
    for (const char* c : kCategories)
        if (byCategory.count(c))
            out << "    <pFeature>" << c << "</pFeature>\n";
    out << "  </Category>\n";
    for (const char* c : kCategories) {
        if (!byCategory.count(c))
            continue;
        out << "  <Category Name=\"" << c << "\" NameSpace=\"Standard\">\n";
        for (const auto& name : byCategory[c])
            out << "    <pFeature>" << escaped(name) << "</pFeature>\n";
        out << "  </Category>\n";
    }

    for (const auto& f : features) {
        const std::string n = escaped(f.name);
        std::vector<std::string> selected;
        auto sel = selectors().find(f.name);
        if (sel != selectors().end())
            for (const auto& s : sel->second)
                if (present.count(s))
                    selected.push_back(s);
        // A feature whose access follows the camera's state has a writable
        // register; its availability and lock say what is allowed now.
        const char* access = f.available ? "RW" : accessText(f.access);
        switch (f.type) {
        case FeatureType::Integer:
        case FeatureType::Float: {
            const bool integer = f.type == FeatureType::Integer;
            const char* element = integer ? "Integer" : "Float";
            out << "  <" << element << " Name=\"" << n << "\">\n";
            w.head(f, selected);
            out << "    <pValue>" << n << "_Reg</pValue>\n"
                << "    <pMin>" << n << "_Min</pMin>\n"
                << "    <pMax>" << n << "_Max</pMax>\n";
            if (integer)
                out << "    <pInc>" << n << "_Inc</pInc>\n";
            out << "  </" << element << ">\n";
            const char* reg = integer ? "IntReg" : "FloatReg";
            w.reg(reg, f.name + "_Reg", f.value, f.length, access, integer);
            w.reg(reg, f.name + "_Min", f.min, 8, "RO", integer);
            w.reg(reg, f.name + "_Max", f.max, 8, "RO", integer);
            if (integer)
                w.reg(reg, f.name + "_Inc", f.inc, 8, "RO", integer);
            break;
        }
        case FeatureType::Enumeration:
            out << "  <Enumeration Name=\"" << n << "\">\n";
            w.head(f, selected);
            for (const auto& e : f.entries) {
                out << "    <EnumEntry Name=\"" << escaped(e.name) << "\">\n";
                if (e.available)
                    out << "      <pIsAvailable>" << n << "_" << escaped(e.name)
                        << "_Available</pIsAvailable>\n";
                out << "      <Value>" << e.value << "</Value>\n"
                    << "    </EnumEntry>\n";
            }
            out << "    <pValue>" << n << "_Reg</pValue>\n"
                << "  </Enumeration>\n";
            w.reg("IntReg", f.name + "_Reg", f.value, f.length, access, true);
            for (const auto& e : f.entries)
                if (e.available)
                    w.reg("IntReg", f.name + "_" + e.name + "_Available", e.available, 4, "RO",
                          true);
            break;
        case FeatureType::Boolean:
            out << "  <Boolean Name=\"" << n << "\">\n";
            w.head(f, selected);
            out << "    <pValue>" << n << "_Reg</pValue>\n"
                << "    <OnValue>1</OnValue>\n"
                << "    <OffValue>0</OffValue>\n"
                << "  </Boolean>\n";
            w.reg("IntReg", f.name + "_Reg", f.value, f.length, access, true);
            break;
        case FeatureType::Command:
            out << "  <Command Name=\"" << n << "\">\n";
            w.head(f, selected);
            out << "    <pValue>" << n << "_Reg</pValue>\n"
                << "    <CommandValue>1</CommandValue>\n"
                << "  </Command>\n";
            // Readable: it reads 1 until the command is done.
            w.reg("IntReg", f.name + "_Reg", f.value, f.length,
                  f.access == Access::ReadOnly ? "RO" : "RW", true);
            break;
        case FeatureType::String:
        case FeatureType::Register: {
            const char* element = f.type == FeatureType::String ? "StringReg" : "Register";
            out << "  <" << element << " Name=\"" << n << "\">\n";
            w.head(f, selected);
            out << "    <Address>" << hex(f.value) << "</Address>\n"
                << "    <Length>" << f.length << "</Length>\n"
                << "    <AccessMode>" << access << "</AccessMode>\n"
                << "    <pPort>Device</pPort>\n"
                << "    <Cachable>NoCache</Cachable>\n"
                << "  </" << element << ">\n";
            break;
        }
        case FeatureType::Unknown:
            break;
        }
        if (f.available) {
            w.reg("IntReg", f.name + "_Available", f.available, 4, "RO", true);
            w.reg("IntReg", f.name + "_Locked", f.locked, 4, "RO", true);
        }
    }
    out << "  <Port Name=\"Device\" NameSpace=\"Standard\"/>\n"
        << "</RegisterDescription>\n";
    return out.str();
}

} // namespace hvsim::gev
