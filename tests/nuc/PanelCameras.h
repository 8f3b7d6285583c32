#pragma once

#include "NucImageInput.h"
#include "NucMapPipeline.h"
#include "TestImages.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

// Simulated cameras of the panel's tests: a GigE camera with shading map
// slots 0 (map id 8193) and 1 (8196) and the shading correction features,
// unless extra (JSON) says otherwise.
inline QJsonObject panelCamera(const char* id, int width = 64, int height = 32,
                               const char* extra = "{}")
{
    QJsonObject cam = QJsonDocument::fromJson(extra).object();
    for (auto [key, value] : {std::pair<const char*, QJsonValue>{"id", id},
                              {"model", "kva640MXGE"},
                              {"width", width},
                              {"height", height},
                              {"shadingControl", true}})
        if (!cam.contains(key))
            cam.insert(key, value);
    if (!cam.contains("files"))
        cam.insert("files", QJsonDocument::fromJson(R"([
            {"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193},
            {"selector": "ShadingMap1", "kind": "shadingMap", "chunkId": 8196}])")
                                .array());
    return cam;
}

// A USB3 camera with user maps only.
constexpr const char* kUserMaps = R"({"transport": "USB3", "nucUserMaps": 2,
    "files": [{"selector": "Userfile", "kind": "userMap"}]})";

// A camera with one map slot that opens for writing only and one for reading only.
constexpr const char* kOpenModes = R"({"files": [
    {"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193},
    {"selector": "ShadingMap1", "kind": "shadingMap", "chunkId": 8193, "write": false},
    {"selector": "ShadingMap2", "kind": "shadingMap", "chunkId": 8193, "read": false}]})";

// A camera with no map slot.
constexpr const char* kNoMaps = R"({"files": [{"selector": "DeviceLog", "kind": "plain"}]})";

// The 8-bit images of the panel's tests: a dark and a bright one of a size.
inline QImage testDark(int width, int height)
{
    return TestImages::grey8(width, height, [](int x, int y) { return 3 + (x + y) % 7; });
}

inline QImage testBright(int width, int height)
{
    return TestImages::grey8(width, height, [](int x, int y) { return 140 + (x * 3 + y) % 90; });
}

// Series of those images with a map made from them, as "Generate NUC Map"
// makes it.
inline bool generateTestMap(NucImageInput& input, int width, int height)
{
    return input.addLoadedImage("dark", NucImageInput::toIndexedGrey(testDark(width, height)),
                                NucImageInput::Dark) &&
           input.addLoadedImage("bright", NucImageInput::toIndexedGrey(testBright(width, height)),
                                NucImageInput::Bright) &&
           NucMapPipeline::generate(input, 1.1f, 16, false);
}
