#pragma once

#include "DeviceFileStore.h"
#include "SimCameraConfig.h"
#include "SimFeatureSet.h"

#include <functional>
#include <map>
#include <optional>

namespace hvsim {

// GenICam File Access on a camera's feature set: "FileSelector", "Filename",
// "FileOpenMode", "FileOperationSelector", "FileOperationExecute",
// "FileAccessOffset", "FileAccessLength", "FileAccessBuffer", "FileSize",
// "FileOperationStatus", "FileOperationResult" and the camera's "FileChunkId".
//
// Writes collect in a pending image that replaces the stored file only when
// the file is closed and its content is acceptable for the entry; a refused
// close leaves the stored file as it was.
//
// Offset, length, status and result are selected by FileSelector and
// FileOperationSelector, as the GenICam naming convention has them: a host
// that sets the offset while "Open" is selected has not set the offset of
// its next "Write".
class FileAccessEngine
{
public:
    static constexpr size_t kMaxFileSize = 64u << 20;

    struct Hooks
    {
        // Injected failure for the n-th (1-based) call of an operation.
        std::function<std::optional<FailOperation>(const std::string& operation, int occurrence)>
            fault;
        // True while the camera acquires images.
        std::function<bool()> acquiring;
        // Called before each Read or Write chunk; a result other than Ok
        // fails it (a camera that drops off the bus mid-transfer).
        std::function<Status()> beforeChunk;
        // Index of the user map the camera has selected (for a user map
        // entry without a file name).
        std::function<int()> selectedUserMap;
    };

    FileAccessEngine(SimFeatureSet& features, DeviceFileStore& store, const CameraConfig& config,
                     Hooks hooks);

    // Committed content of an entry (the factory content when nothing was
    // stored), as a download would see it. `fileName` picks the user map.
    bool storedContent(const std::string& selector, const std::string& fileName,
                       std::vector<uint8_t>& bytes) const;

    // Drops every open session (camera closed or gone); nothing is committed.
    void abandonAll();
    bool hasOpenFile() const { return !m_sessions.empty(); }

    enum class Mode
    {
        Read = 0,
        Write = 1,
        ReadWrite = 2,
    };

private:
    struct Session
    {
        Mode mode = Mode::Read;
        std::string key;
        std::vector<uint8_t> data;
        bool written = false;
        int reads = 0;
        int writes = 0;
    };

    // What FileAccessOffset, FileAccessLength, FileOperationStatus and
    // FileOperationResult hold for one selector entry and operation.
    struct OperationState
    {
        int64_t offset = 0;
        int64_t length = 0;
        bool failed = false;
        int64_t result = 0;
    };

    const FileEntryConfig* selectedEntry() const;
    OperationState& selectedOperation();
    bool keyFor(const FileEntryConfig& e, const std::string& fileName, std::string& key) const;
    std::vector<uint8_t> factoryContent(const FileEntryConfig& e) const;
    bool contentOf(const FileEntryConfig& e, const std::string& key,
                   std::vector<uint8_t>& bytes) const;
    Status execute();
    Status doOpen(const FileEntryConfig& e);
    Status doClose(const FileEntryConfig& e);
    // `cap` >= 0 limits the bytes moved (an injected short transfer).
    Status doRead(Session& s, int64_t cap);
    Status doWrite(Session& s, int64_t cap);
    Status doDelete(const FileEntryConfig& e);
    Status finish(Status s, int64_t result);
    int64_t sizeOfSelected() const;

    SimFeatureSet& m_features;
    DeviceFileStore& m_store;
    CameraConfig m_config;
    Hooks m_hooks;
    std::map<std::string, Session> m_sessions; // by selector entry
    std::map<std::string, int> m_calls;        // Open/Close/Delete calls so far
    std::map<std::pair<int64_t, int64_t>, OperationState> m_operations; // by selector, operation
    size_t m_lastBufferWrite = 0;

    SimFeature* m_selector = nullptr;
    SimFeature* m_filename = nullptr;
    SimFeature* m_openMode = nullptr;
    SimFeature* m_operation = nullptr;
    SimFeature* m_buffer = nullptr;
};

} // namespace hvsim
