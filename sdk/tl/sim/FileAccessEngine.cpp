#include "FileAccessEngine.h"

#include "MapFileFormat.h"

#include <algorithm>
#include <cstring>

namespace hvsim {

namespace {

const char* const kOperations[] = {"Open", "Close", "Read", "Write", "Delete"};
enum Operation
{
    OpOpen = 0,
    OpClose = 1,
    OpRead = 2,
    OpWrite = 3,
    OpDelete = 4,
};

SimFeature intFeature(const std::string& name, Access access, int64_t value, int64_t min,
                      int64_t max)
{
    SimFeature f;
    f.name = name;
    f.type = FeatureType::Integer;
    f.access = access;
    f.intValue = value;
    f.intMin = min;
    f.intMax = max;
    return f;
}

// "nuc_usermap<k>.ge3" -> k, else -1.
int userMapIndex(const std::string& name)
{
    const std::string head = "nuc_usermap", tail = ".ge3";
    if (name.size() <= head.size() + tail.size() || name.compare(0, head.size(), head) != 0 ||
        name.compare(name.size() - tail.size(), tail.size(), tail) != 0)
        return -1;
    std::string digits = name.substr(head.size(), name.size() - head.size() - tail.size());
    if (digits.empty() || digits.size() > 4 ||
        !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return -1;
    return std::stoi(digits);
}

} // namespace

FileAccessEngine::FileAccessEngine(SimFeatureSet& features, DeviceFileStore& store,
                                   const CameraConfig& config, Hooks hooks)
    : m_features(features), m_store(store), m_config(config), m_hooks(std::move(hooks))
{
    SimFeature selector;
    selector.name = "FileSelector";
    selector.type = FeatureType::Enumeration;
    for (size_t i = 0; i < m_config.files.size(); ++i)
        selector.entries.push_back(EnumEntry{m_config.files[i].selector, int64_t(i), {}});
    m_selector = &m_features.add(selector);

    if (m_config.hasFilename) {
        SimFeature filename;
        filename.name = "Filename";
        filename.type = FeatureType::String;
        m_filename = &m_features.add(filename);
    }

    SimFeature mode;
    mode.name = "FileOpenMode";
    mode.type = FeatureType::Enumeration;
    auto allows = [this](bool read, bool write) {
        return [this, read, write]() {
            const FileEntryConfig* e = selectedEntry();
            return e && (!read || e->readable) && (!write || e->writable);
        };
    };
    mode.entries = {EnumEntry{"Read", int64_t(Mode::Read), allows(true, false)},
                    EnumEntry{"Write", int64_t(Mode::Write), allows(false, true)},
                    EnumEntry{"ReadWrite", int64_t(Mode::ReadWrite), allows(true, true)}};
    m_openMode = &m_features.add(mode);

    SimFeature operation;
    operation.name = "FileOperationSelector";
    operation.type = FeatureType::Enumeration;
    auto session = [this]() -> Session* {
        const FileEntryConfig* e = selectedEntry();
        auto it = e ? m_sessions.find(e->selector) : m_sessions.end();
        return it == m_sessions.end() ? nullptr : &it->second;
    };
    operation.entries = {
        EnumEntry{"Open", OpOpen, [session]() { return session() == nullptr; }},
        EnumEntry{"Close", OpClose, [session]() { return session() != nullptr; }},
        EnumEntry{"Read", OpRead,
                  [session]() {
                      Session* s = session();
                      return s && s->mode != Mode::Write;
                  }},
        EnumEntry{"Write", OpWrite,
                  [session]() {
                      Session* s = session();
                      return s && s->mode != Mode::Read;
                  }},
        EnumEntry{"Delete", OpDelete, [session]() { return session() == nullptr; }},
    };
    m_operation = &m_features.add(operation);

    SimFeature execute;
    execute.name = "FileOperationExecute";
    execute.type = FeatureType::Command;
    execute.access = Access::WriteOnly;
    execute.onExecute = [this](SimFeature&) { return this->execute(); };
    m_features.add(execute);

    // The selected operation's values are kept aside and show through the
    // features; a write goes to the entry and operation selected then.
    auto selected = [this](int64_t OperationState::*field, Access access, int64_t min, int64_t max,
                           const char* name) {
        SimFeature f = intFeature(name, access, 0, min, max);
        f.onRead = [this, field](SimFeature& self) { self.intValue = selectedOperation().*field; };
        f.onWrite = [this, field](SimFeature&, const FeatureValue& v) {
            selectedOperation().*field = v.i;
            return Ok;
        };
        return f;
    };
    m_features.add(selected(&OperationState::offset, Access::ReadWrite, 0, int64_t(kMaxFileSize),
                            "FileAccessOffset"));
    m_features.add(
        selected(&OperationState::length,
                 m_config.fileAccessLengthWritable ? Access::ReadWrite : Access::ReadOnly, 1,
                 m_config.fileAccessMaxLength, "FileAccessLength"));

    SimFeature buffer;
    buffer.name = "FileAccessBuffer";
    buffer.type = FeatureType::Register;
    buffer.bytes.assign(size_t(m_config.fileAccessMaxLength), 0);
    buffer.onWrite = [this](SimFeature&, const FeatureValue& v) {
        m_lastBufferWrite = size_t(v.i);
        return Ok;
    };
    m_buffer = &m_features.add(buffer);
    m_lastBufferWrite = buffer.bytes.size();

    SimFeature size = intFeature("FileSize", Access::ReadOnly, 0, 0, INT64_MAX);
    size.onRead = [this](SimFeature& f) { f.intValue = sizeOfSelected(); };
    m_features.add(size);

    if (m_config.hasFileOperationStatus) {
        SimFeature status;
        status.name = "FileOperationStatus";
        status.type = FeatureType::Enumeration;
        status.access = Access::ReadOnly;
        status.entries = {EnumEntry{"Success", 0, {}}, EnumEntry{"Failure", 1, {}}};
        status.onRead = [this](SimFeature& f) { f.intValue = selectedOperation().failed ? 1 : 0; };
        m_features.add(status);
    }

    SimFeature result = intFeature("FileOperationResult", Access::ReadOnly, 0, 0, INT64_MAX);
    result.onRead = [this](SimFeature& f) { f.intValue = selectedOperation().result; };
    m_features.add(result);

    bool chunkIds = std::any_of(m_config.files.begin(), m_config.files.end(),
                                [](const FileEntryConfig& e) { return e.chunkId != 0; });
    if (chunkIds) {
        SimFeature chunk = intFeature("FileChunkId", Access::ReadOnly, 0, 0, INT64_MAX);
        chunk.onRead = [this](SimFeature& f) {
            const FileEntryConfig* e = selectedEntry();
            f.intValue = e ? e->chunkId : 0;
        };
        m_features.add(chunk);
    }
}

const FileEntryConfig* FileAccessEngine::selectedEntry() const
{
    int64_t i = m_selector->intValue;
    return i >= 0 && size_t(i) < m_config.files.size() ? &m_config.files[size_t(i)] : nullptr;
}

FileAccessEngine::OperationState& FileAccessEngine::selectedOperation()
{
    auto [it, added] = m_operations.try_emplace({m_selector->intValue, m_operation->intValue});
    if (added)
        it->second.length = m_config.fileAccessMaxLength;
    return it->second;
}

bool FileAccessEngine::keyFor(const FileEntryConfig& e, const std::string& fileName,
                              std::string& key) const
{
    if (e.kind != FileKind::UserMap) {
        key = e.selector;
        return true;
    }
    if (m_config.nucUserMaps <= 0) {
        key = e.selector + "." + (fileName.empty() ? std::string("default") : fileName);
        return true;
    }
    // A camera with user map slots names them nuc_usermap<k>.ge3; without
    // a file name the slot that "nucControl" selects is meant.
    int k = fileName.empty() ? (m_hooks.selectedUserMap ? m_hooks.selectedUserMap() : -1)
                             : userMapIndex(fileName);
    if (k < 0 || k >= m_config.nucUserMaps)
        return false;
    key = e.selector + ".nuc_usermap" + std::to_string(k) + ".ge3";
    return true;
}

std::vector<uint8_t> FileAccessEngine::factoryContent(const FileEntryConfig& e) const
{
    switch (e.kind) {
    case FileKind::ShadingMap:
        return MapFileFormat::neutralShadingMap(uint32_t(e.chunkId), m_config.width,
                                                m_config.height);
    case FileKind::UserMap:
        return MapFileFormat::neutralUserMap(m_config.width, m_config.height);
    case FileKind::Plain:
        break;
    }
    return {e.content.begin(), e.content.end()};
}

bool FileAccessEngine::contentOf(const FileEntryConfig& e, const std::string& key,
                                 std::vector<uint8_t>& bytes) const
{
    if (m_store.load(key, bytes))
        return true;
    bytes = factoryContent(e);
    return true;
}

bool FileAccessEngine::storedContent(const std::string& selector, const std::string& fileName,
                                     std::vector<uint8_t>& bytes) const
{
    std::lock_guard<std::recursive_mutex> lock(m_features.mutex());
    for (const auto& e : m_config.files) {
        std::string key;
        if (e.selector == selector && keyFor(e, fileName, key))
            return contentOf(e, key, bytes);
    }
    return false;
}

void FileAccessEngine::abandonAll()
{
    std::lock_guard<std::recursive_mutex> lock(m_features.mutex());
    m_sessions.clear();
}

int64_t FileAccessEngine::sizeOfSelected() const
{
    const FileEntryConfig* e = selectedEntry();
    if (!e)
        return 0;
    auto it = m_sessions.find(e->selector);
    if (it != m_sessions.end())
        return int64_t(it->second.data.size());
    std::string key;
    std::vector<uint8_t> bytes;
    if (!keyFor(*e, m_filename ? m_filename->stringValue : std::string(), key))
        return 0;
    contentOf(*e, key, bytes);
    return int64_t(bytes.size());
}

Status FileAccessEngine::finish(Status s, int64_t result)
{
    OperationState& op = selectedOperation();
    op.failed = s != Ok;
    op.result = s == Ok ? result : 0;
    return s;
}

Status FileAccessEngine::execute()
{
    const FileEntryConfig* e = selectedEntry();
    if (!e)
        return finish(InvalidCall, 0);
    const int op = int(m_operation->intValue);
    if (op < OpOpen || op > OpDelete)
        return finish(InvalidCall, 0);
    auto it = m_sessions.find(e->selector);
    Session* s = it == m_sessions.end() ? nullptr : &it->second;

    // The selector's entry availability already says what is allowed; the
    // state may have changed since (another entry selected meanwhile), so
    // check again.
    const bool needsSession = op == OpClose || op == OpRead || op == OpWrite;
    if (needsSession != (s != nullptr))
        return finish(InvalidCall, 0);

    // A camera that streams keeps its files shut.
    if (!m_config.fileAccessWhileAcquiring && m_hooks.acquiring && m_hooks.acquiring())
        return finish(InvalidAccess, 0);

    int occurrence = 0;
    if (op == OpRead)
        occurrence = ++s->reads;
    else if (op == OpWrite)
        occurrence = ++s->writes;
    else
        occurrence = ++m_calls[kOperations[op]];
    const std::optional<FailOperation> fault =
        m_hooks.fault ? m_hooks.fault(kOperations[op], occurrence) : std::nullopt;
    const bool chunk = op == OpRead || op == OpWrite;
    if (fault && !(chunk && fault->bytes >= 0)) {
        // A hung operation does nothing: the file stays as it was, open or
        // closed, and the stored file too.
        if (fault->hang)
            return Pending;
        if (op == OpClose)
            m_sessions.erase(it); // a failed close still ends the session
        const Status failed = finish(Status(fault->code), 0);
        return fault->statusOnly ? Ok : failed;
    }
    const int64_t cap = fault ? fault->bytes : -1;

    switch (op) {
    case OpOpen:
        return doOpen(*e);
    case OpClose:
        return doClose(*e);
    case OpRead:
        return doRead(*s, cap);
    case OpWrite:
        return doWrite(*s, cap);
    default:
        return doDelete(*e);
    }
}

Status FileAccessEngine::doOpen(const FileEntryConfig& e)
{
    Session s;
    s.mode = Mode(m_openMode->intValue);
    if ((s.mode != Mode::Write && !e.readable) || (s.mode != Mode::Read && !e.writable))
        return finish(InvalidAccess, 0);
    if (!keyFor(e, m_filename ? m_filename->stringValue : std::string(), s.key))
        return finish(InvalidValue, 0);
    if (s.mode != Mode::Write)
        contentOf(e, s.key, s.data);
    // Opening for writing alone starts an empty file, as a fresh upload.
    s.written = s.mode == Mode::Write;
    m_sessions[e.selector] = std::move(s);
    return finish(Ok, 0);
}

Status FileAccessEngine::doClose(const FileEntryConfig& e)
{
    Session s = std::move(m_sessions[e.selector]);
    m_sessions.erase(e.selector);
    if (s.mode == Mode::Read || !s.written)
        return finish(Ok, 0);
    // Both map layouts give their size at byte 4; a padding camera stores
    // no more of a map than that.
    if (m_config.fileAccessPadding && e.kind != FileKind::Plain && s.data.size() >= 8)
        s.data.resize(std::min<size_t>(s.data.size(), MapFileFormat::readU32(s.data, 4)));
    bool acceptable = true;
    if (e.kind == FileKind::ShadingMap)
        acceptable = MapFileFormat::checkShadingMap(s.data, m_config.width, m_config.height);
    else if (e.kind == FileKind::UserMap)
        acceptable = MapFileFormat::checkUserMap(s.data, m_config.width, m_config.height);
    if (!acceptable)
        return finish(InvalidValue, 0);
    if (!m_store.commit(s.key, s.data))
        return finish(TransportError, 0);
    return finish(Ok, 0);
}

Status FileAccessEngine::doRead(Session& s, int64_t cap)
{
    if (m_hooks.beforeChunk) {
        Status f = m_hooks.beforeChunk();
        if (f != Ok)
            return finish(f, 0);
    }
    const OperationState& op = selectedOperation();
    const uint64_t offset = uint64_t(op.offset);
    if (offset > s.data.size())
        return finish(InvalidValue, 0);
    size_t n = std::min<uint64_t>(uint64_t(op.length), s.data.size() - offset);
    if (cap >= 0)
        n = std::min(n, size_t(cap));
    std::fill(m_buffer->bytes.begin(), m_buffer->bytes.end(), 0);
    std::memcpy(m_buffer->bytes.data(), s.data.data() + offset, n);
    return finish(Ok, int64_t(n));
}

Status FileAccessEngine::doWrite(Session& s, int64_t cap)
{
    if (m_hooks.beforeChunk) {
        Status f = m_hooks.beforeChunk();
        if (f != Ok)
            return finish(f, 0);
    }
    const OperationState& op = selectedOperation();
    const uint64_t offset = uint64_t(op.offset);
    size_t n = size_t(op.length);
    size_t given = n; // bytes that come from the host's buffer write
    // A camera whose length the host cannot set takes as many bytes as the
    // host last put into the buffer, or pads them to its fixed length.
    if (!m_config.fileAccessLengthWritable) {
        given = std::min(n, m_lastBufferWrite);
        if (!m_config.fileAccessPadding)
            n = given;
    }
    if (cap >= 0) {
        n = std::min(n, size_t(cap));
        given = std::min(given, n);
    }
    if (offset + n > kMaxFileSize)
        return finish(InvalidValue, 0);
    if (s.data.size() < offset + n)
        s.data.resize(offset + n, 0);
    std::memcpy(s.data.data() + offset, m_buffer->bytes.data(), given);
    std::fill(s.data.begin() + std::ptrdiff_t(offset + given),
              s.data.begin() + std::ptrdiff_t(offset + n), 0);
    s.written = true;
    return finish(Ok, int64_t(n));
}

Status FileAccessEngine::doDelete(const FileEntryConfig& e)
{
    if (!e.writable)
        return finish(InvalidAccess, 0);
    std::string key;
    if (!keyFor(e, m_filename ? m_filename->stringValue : std::string(), key))
        return finish(InvalidValue, 0);
    // Map entries fall back to their factory map.
    return finish(m_store.remove(key) ? Ok : TransportError, 0);
}

} // namespace hvsim
