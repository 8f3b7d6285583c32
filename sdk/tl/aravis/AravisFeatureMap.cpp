#include "AravisFeatureMap.h"

#include "AravisError.h"

#include <chrono>
#include <cmath>
#include <cstring>
#include <set>
#include <thread>

namespace hvaravis {

namespace {

// How long RunCommand waits for a command to finish before it leaves the
// rest of the waiting to IsCommandDone, and how often it looks.
constexpr auto kCommandSettle = std::chrono::milliseconds(250);
constexpr auto kCommandPollMax = std::chrono::milliseconds(10);

// Control packets move whole 32-bit words, and some devices refuse
// anything else; register accesses are widened to words within the register.
constexpr size_t kWord = 4;

// `size` rounded up to whole words, where the register is that long.
size_t WordSize(size_t size, guint64 length)
{
    const size_t whole = (size + kWord - 1) / kWord * kWord;
    return whole <= length ? whole : size;
}

// Where a register access of `size` bytes goes: the register's address and
// the size widened to whole words (0 for an empty access, which moves
// nothing). context names the access in an error.
HvErrorType RegisterSpan(ArvGcNode* node, size_t size, const std::string& context, guint64* address,
                         size_t* whole)
{
    if (!ARV_IS_GC_REGISTER(node))
        return HvErrorWrongType;
    ArvGcRegister* reg = ARV_GC_REGISTER(node);
    GError* error = nullptr;
    const guint64 length = arv_gc_register_get_length(reg, &error);
    *address = error == nullptr ? arv_gc_register_get_address(reg, &error) : 0;
    if (error != nullptr)
        return TakeError(error, context);
    if (size > length)
        return HvErrorBadParameter;
    *whole = size == 0 ? 0 : WordSize(size, length);
    return HvErrorSuccess;
}

std::string ElementName(ArvGcNode* node)
{
    const char* name = arv_dom_node_get_node_name(ARV_DOM_NODE(node));
    return name != nullptr ? name : "";
}

void CollectNames(ArvGc* genicam, ArvGcNode* node, std::vector<std::string>& names,
                  std::set<std::string>& seen, int depth)
{
    if (node == nullptr || depth > 16 || !ARV_IS_GC_CATEGORY(node))
        return;
    for (const GSList* it = arv_gc_category_get_features(ARV_GC_CATEGORY(node)); it != nullptr;
         it = it->next) {
        const char* name = static_cast<const char*>(it->data);
        ArvGcNode* child = arv_gc_get_node(genicam, name);
        if (child == nullptr || !seen.insert(name).second)
            continue;
        if (ARV_IS_GC_CATEGORY(child))
            CollectNames(genicam, child, names, seen, depth + 1);
        else
            names.push_back(name);
    }
}

// A command's value node and the value the command writes into it.
bool CommandTarget(ArvGcNode* command, ArvGcNode*& valueNode, int64_t& commandValue)
{
    valueNode = nullptr;
    bool haveValue = false;
    for (ArvDomNode* child = arv_dom_node_get_first_child(ARV_DOM_NODE(command)); child != nullptr;
         child = arv_dom_node_get_next_sibling(child)) {
        if (!ARV_IS_GC_PROPERTY_NODE(child))
            continue;
        ArvGcPropertyNode* property = ARV_GC_PROPERTY_NODE(child);
        switch (arv_gc_property_node_get_node_type(property)) {
        case ARV_GC_PROPERTY_NODE_TYPE_P_VALUE:
            valueNode = arv_gc_property_node_get_linked_node(property);
            break;
        case ARV_GC_PROPERTY_NODE_TYPE_COMMAND_VALUE:
        case ARV_GC_PROPERTY_NODE_TYPE_P_COMMAND_VALUE: {
            GError* error = nullptr;
            commandValue = arv_gc_property_node_get_int64(property, &error);
            haveValue = error == nullptr;
            if (error != nullptr)
                g_error_free(error);
            break;
        }
        default:
            break;
        }
    }
    return valueNode != nullptr && haveValue && ARV_IS_GC_INTEGER(valueNode);
}

} // namespace

HvFeatureDataType AravisFeatureMap::TypeOfElement(const std::string& element)
{
    static const std::pair<const char*, HvFeatureDataType> kTypes[] = {
        {"Integer", HvFeatureDataInt},      {"IntReg", HvFeatureDataInt},
        {"MaskedIntReg", HvFeatureDataInt}, {"IntSwissKnife", HvFeatureDataInt},
        {"IntConverter", HvFeatureDataInt}, {"StructEntry", HvFeatureDataInt},
        {"Float", HvFeatureDataFloat},      {"FloatReg", HvFeatureDataFloat},
        {"SwissKnife", HvFeatureDataFloat}, {"Converter", HvFeatureDataFloat},
        {"String", HvFeatureDataString},    {"StringReg", HvFeatureDataString},
        {"Enumeration", HvFeatureDataEnum}, {"Boolean", HvFeatureDataBool},
        {"Command", HvFeatureDataCommand},  {"Register", HvFeatureDataRaw},
        {"Category", HvFeatureDataNone},
    };
    for (const auto& entry : kTypes)
        if (element == entry.first)
            return entry.second;
    return HvFeatureDataUnknown;
}

template <typename Node>
HvErrorType AravisFeatureMap::Typed(const std::string& name, GType type, const char* what,
                                    const std::function<void(Node*, GError**)>& body)
{
    return WithNode(name, [&](ArvGcNode* node) {
        if (!G_TYPE_CHECK_INSTANCE_TYPE(node, type))
            return HvErrorType(HvErrorWrongType);
        GError* error = nullptr;
        body(reinterpret_cast<Node*>(node), &error);
        return TakeError(error, std::string(what) + " " + name);
    });
}

HvErrorType AravisFeatureMap::WithNode(const std::string& name,
                                       const std::function<HvErrorType(ArvGcNode*)>& body)
{
    return m_thread.Call<HvErrorType>([&]() -> HvErrorType {
        if (m_device == nullptr)
            return HvErrorDeviceNotOpen;
        ArvGcNode* node = arv_device_get_feature(m_device, name.c_str());
        if (node == nullptr || !ARV_IS_GC_FEATURE_NODE(node))
            return HvErrorNotFound;
        return RetryWhileBusy([&] { return body(node); });
    });
}

std::vector<std::string> AravisFeatureMap::FeatureNames()
{
    std::vector<std::string> names;
    m_thread.Run([&] {
        if (m_device == nullptr)
            return;
        ArvGc* genicam = arv_device_get_genicam(m_device);
        std::set<std::string> seen;
        CollectNames(genicam, arv_gc_get_node(genicam, "Root"), names, seen, 0);
    });
    return names;
}

HvErrorType AravisFeatureMap::GetFeatureInfo(const std::string& name, Hvx::Tl::FeatureInfo& info)
{
    return WithNode(name, [&](ArvGcNode* node) {
        ArvGcFeatureNode* feature = ARV_GC_FEATURE_NODE(node);
        GError* error = nullptr;
        const bool implemented = arv_gc_feature_node_is_implemented(feature, &error);
        if (error != nullptr)
            return TakeError(error, "is " + name + " implemented");
        if (!implemented)
            return HvErrorType(HvErrorNotFound);
        info.type = TypeOfElement(ElementName(node));
        info.flags = HvFeatureFlagsNone;
        if (info.type == HvFeatureDataNone)
            return HvErrorType(HvErrorSuccess);
        const bool available = arv_gc_feature_node_is_available(feature, &error);
        if (error != nullptr)
            return TakeError(error, "is " + name + " available");
        const bool locked = arv_gc_feature_node_is_locked(feature, &error);
        if (error != nullptr)
            return TakeError(error, "is " + name + " locked");
        if (!available)
            return HvErrorType(HvErrorSuccess);
        const ArvGcAccessMode mode = arv_gc_feature_node_get_actual_access_mode(feature);
        if (mode == ARV_GC_ACCESS_MODE_RO || mode == ARV_GC_ACCESS_MODE_RW)
            info.flags |= HvFeatureFlagsRead;
        if ((mode == ARV_GC_ACCESS_MODE_WO || mode == ARV_GC_ACCESS_MODE_RW) && !locked)
            info.flags |= HvFeatureFlagsWrite;
        return HvErrorType(HvErrorSuccess);
    });
}

HvErrorType AravisFeatureMap::GetInt(const std::string& name, int64_t& value)
{
    return Typed<ArvGcInteger>(
        name, ARV_TYPE_GC_INTEGER, "get",
        [&](ArvGcInteger* node, GError** error) { value = arv_gc_integer_get_value(node, error); });
}

HvErrorType AravisFeatureMap::SetInt(const std::string& name, int64_t value)
{
    return WithNode(name, [&](ArvGcNode* node) {
        if (!ARV_IS_GC_INTEGER(node))
            return HvErrorType(HvErrorWrongType);
        ArvGcInteger* integer = ARV_GC_INTEGER(node);
        GError* error = nullptr;
        const int64_t minimum = arv_gc_integer_get_min(integer, &error);
        const int64_t increment = error == nullptr ? arv_gc_integer_get_inc(integer, &error) : 1;
        if (error != nullptr)
            return TakeError(error, "range of " + name);
        if (increment > 1 && value >= minimum && (value - minimum) % increment != 0) {
            Log("set " + name + ": " + std::to_string(value) + " is off the increment " +
                std::to_string(increment));
            return HvErrorType(HvErrorInvalidValue);
        }
        arv_gc_integer_set_value(integer, value, &error);
        return TakeError(error, "set " + name + " to " + std::to_string(value));
    });
}

HvErrorType AravisFeatureMap::GetIntRange(const std::string& name, int64_t& minimum,
                                          int64_t& maximum, int64_t& increment)
{
    return Typed<ArvGcInteger>(name, ARV_TYPE_GC_INTEGER, "range of",
                               [&](ArvGcInteger* node, GError** error) {
                                   minimum = arv_gc_integer_get_min(node, error);
                                   if (*error == nullptr)
                                       maximum = arv_gc_integer_get_max(node, error);
                                   if (*error == nullptr)
                                       increment = arv_gc_integer_get_inc(node, error);
                               });
}

HvErrorType AravisFeatureMap::GetFloat(const std::string& name, double& value)
{
    return Typed<ArvGcFloat>(name, ARV_TYPE_GC_FLOAT, "get", [&](ArvGcFloat* node, GError** error) {
        value = arv_gc_float_get_value(node, error);
    });
}

HvErrorType AravisFeatureMap::SetFloat(const std::string& name, double value)
{
    if (!std::isfinite(value))
        return HvErrorInvalidValue;
    return Typed<ArvGcFloat>(name, ARV_TYPE_GC_FLOAT, "set", [&](ArvGcFloat* node, GError** error) {
        arv_gc_float_set_value(node, value, error);
    });
}

HvErrorType AravisFeatureMap::GetFloatRange(const std::string& name, double& minimum,
                                            double& maximum, double& increment)
{
    return Typed<ArvGcFloat>(name, ARV_TYPE_GC_FLOAT, "range of",
                             [&](ArvGcFloat* node, GError** error) {
                                 minimum = arv_gc_float_get_min(node, error);
                                 if (*error == nullptr)
                                     maximum = arv_gc_float_get_max(node, error);
                                 if (*error == nullptr)
                                     increment = arv_gc_float_get_inc(node, error);
                                 // Aravis answers the smallest double for a value
                                 // without increment.
                                 if (!(increment > 1e-300))
                                     increment = 0.0;
                             });
}

HvErrorType AravisFeatureMap::GetEnum(const std::string& name, std::string& entry)
{
    return Typed<ArvGcEnumeration>(
        name, ARV_TYPE_GC_ENUMERATION, "get", [&](ArvGcEnumeration* node, GError** error) {
            const char* value = arv_gc_enumeration_get_string_value(node, error);
            entry = value != nullptr ? value : "";
        });
}

HvErrorType AravisFeatureMap::GetEnumEntries(const std::string& name,
                                             std::vector<Hvx::Tl::EnumEntryInfo>& entries)
{
    return WithNode(name, [&](ArvGcNode* node) {
        if (!ARV_IS_GC_ENUMERATION(node))
            return HvErrorType(HvErrorWrongType);
        entries.clear();
        for (const GSList* it = arv_gc_enumeration_get_entries(ARV_GC_ENUMERATION(node));
             it != nullptr; it = it->next) {
            ArvGcFeatureNode* entry = ARV_GC_FEATURE_NODE(it->data);
            GError* error = nullptr;
            const bool implemented = arv_gc_feature_node_is_implemented(entry, &error);
            if (error != nullptr)
                return TakeError(error, "entries of " + name);
            if (!implemented)
                continue;
            Hvx::Tl::EnumEntryInfo info;
            info.name = arv_gc_feature_node_get_name(entry);
            info.value = arv_gc_enum_entry_get_value(ARV_GC_ENUM_ENTRY(entry), &error);
            if (error == nullptr)
                info.available = arv_gc_feature_node_is_available(entry, &error);
            if (error != nullptr)
                return TakeError(error, "entries of " + name);
            entries.push_back(info);
        }
        return HvErrorType(HvErrorSuccess);
    });
}

HvErrorType AravisFeatureMap::SetEnum(const std::string& name, const std::string& entry)
{
    std::vector<Hvx::Tl::EnumEntryInfo> entries;
    HvErrorType result = GetEnumEntries(name, entries);
    if (result != HvErrorSuccess)
        return result;
    bool selectable = false;
    for (const auto& candidate : entries)
        selectable |= candidate.name == entry && candidate.available;
    if (!selectable) {
        Log("set " + name + ": no available entry " + entry);
        return HvErrorInvalidValue;
    }
    return WithNode(name, [&](ArvGcNode* node) {
        GError* error = nullptr;
        arv_gc_enumeration_set_string_value(ARV_GC_ENUMERATION(node), entry.c_str(), &error);
        return TakeError(error, "set " + name + " to " + entry);
    });
}

HvErrorType AravisFeatureMap::GetString(const std::string& name, std::string& value)
{
    return Typed<ArvGcString>(name, ARV_TYPE_GC_STRING, "get",
                              [&](ArvGcString* node, GError** error) {
                                  const char* text = arv_gc_string_get_value(node, error);
                                  value = text != nullptr ? text : "";
                              });
}

HvErrorType AravisFeatureMap::SetString(const std::string& name, const std::string& value)
{
    return WithNode(name, [&](ArvGcNode* node) {
        if (!ARV_IS_GC_STRING(node))
            return HvErrorType(HvErrorWrongType);
        ArvGcString* text = ARV_GC_STRING(node);
        GError* error = nullptr;
        const int64_t maximum = arv_gc_string_get_max_length(text, &error);
        if (error != nullptr)
            return TakeError(error, "length of " + name);
        if (maximum > 0 && int64_t(value.size()) > maximum) {
            Log("set " + name + ": " + std::to_string(value.size()) + " characters, at most " +
                std::to_string(maximum));
            return HvErrorType(HvErrorInvalidValue);
        }
        arv_gc_string_set_value(text, value.c_str(), &error);
        return TakeError(error, "set " + name);
    });
}

HvErrorType AravisFeatureMap::GetBool(const std::string& name, bool& value)
{
    return Typed<ArvGcBoolean>(
        name, ARV_TYPE_GC_BOOLEAN, "get",
        [&](ArvGcBoolean* node, GError** error) { value = arv_gc_boolean_get_value(node, error); });
}

HvErrorType AravisFeatureMap::SetBool(const std::string& name, bool value)
{
    return Typed<ArvGcBoolean>(
        name, ARV_TYPE_GC_BOOLEAN, "set",
        [&](ArvGcBoolean* node, GError** error) { arv_gc_boolean_set_value(node, value, error); });
}

HvErrorType AravisFeatureMap::CommandDone(ArvGcNode* command, bool& done)
{
    ArvGcNode* valueNode = nullptr;
    int64_t commandValue = 0;
    // A command whose register cannot be read back counts as done once written.
    if (!CommandTarget(command, valueNode, commandValue) ||
        (ARV_IS_GC_FEATURE_NODE(valueNode) &&
         arv_gc_feature_node_get_actual_access_mode(ARV_GC_FEATURE_NODE(valueNode)) ==
             ARV_GC_ACCESS_MODE_WO)) {
        done = true;
        return HvErrorSuccess;
    }
    GError* error = nullptr;
    const int64_t value = arv_gc_integer_get_value(ARV_GC_INTEGER(valueNode), &error);
    if (error != nullptr)
        return TakeError(
            error, "is " + std::string(arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(command))) +
                       " done");
    done = value != commandValue;
    return HvErrorSuccess;
}

HvErrorType AravisFeatureMap::RunCommand(const std::string& name)
{
    return WithNode(name, [&](ArvGcNode* node) {
        if (!ARV_IS_GC_COMMAND(node))
            return HvErrorType(HvErrorWrongType);
        GError* error = nullptr;
        arv_gc_command_execute(ARV_GC_COMMAND(node), &error);
        if (error != nullptr)
            return TakeError(error, "execute " + name);
        // Most commands finish within a few round trips; waiting for them
        // here spares the caller its own, much coarser, polling.
        const auto deadline = std::chrono::steady_clock::now() + kCommandSettle;
        auto pause = std::chrono::milliseconds(1);
        for (;;) {
            bool done = false;
            if (CommandDone(node, done) != HvErrorSuccess || done ||
                std::chrono::steady_clock::now() >= deadline)
                return HvErrorType(HvErrorSuccess);
            std::this_thread::sleep_for(pause);
            pause = std::min(pause * 2, kCommandPollMax);
        }
    });
}

HvErrorType AravisFeatureMap::IsCommandDone(const std::string& name, bool& done)
{
    return WithNode(name, [&](ArvGcNode* node) {
        if (!ARV_IS_GC_COMMAND(node))
            return HvErrorType(HvErrorWrongType);
        return CommandDone(node, done);
    });
}

HvErrorType AravisFeatureMap::GetRegisterLength(const std::string& name, int64_t& length)
{
    return Typed<ArvGcRegister>(name, ARV_TYPE_GC_REGISTER, "length of",
                                [&](ArvGcRegister* node, GError** error) {
                                    length = int64_t(arv_gc_register_get_length(node, error));
                                });
}

HvErrorType AravisFeatureMap::GetRegister(const std::string& name, uint8_t* buffer, size_t size)
{
    return WithNode(name, [&](ArvGcNode* node) {
        const std::string context = "read " + name;
        guint64 address = 0;
        size_t whole = 0;
        const HvErrorType span = RegisterSpan(node, size, context, &address, &whole);
        if (span != HvErrorSuccess || whole == 0)
            return span;
        std::vector<uint8_t> words(whole);
        GError* error = nullptr;
        arv_device_read_memory(m_device, address, guint32(whole), words.data(), &error);
        if (error != nullptr)
            return TakeError(error, context);
        std::memcpy(buffer, words.data(), size);
        return HvErrorType(HvErrorSuccess);
    });
}

HvErrorType AravisFeatureMap::SetRegister(const std::string& name, const uint8_t* buffer,
                                          size_t size)
{
    return WithNode(name, [&](ArvGcNode* node) {
        const std::string context = "write " + name;
        guint64 address = 0;
        size_t whole = 0;
        const HvErrorType span = RegisterSpan(node, size, context, &address, &whole);
        if (span != HvErrorSuccess || whole == 0)
            return span;
        // A partial last word keeps the register's bytes beyond `size`.
        std::vector<uint8_t> words(whole);
        GError* error = nullptr;
        if (whole > size) {
            const size_t tail = whole - kWord;
            arv_device_read_memory(m_device, address + tail, kWord, words.data() + tail, &error);
            if (error != nullptr)
                return TakeError(error, context);
        }
        std::memcpy(words.data(), buffer, size);
        arv_device_write_memory(m_device, address, guint32(whole), words.data(), &error);
        return TakeError(error, context);
    });
}

} // namespace hvaravis
