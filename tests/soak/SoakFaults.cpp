#include "SoakFaults.h"

#include <QJsonArray>

namespace SoakFaults {

namespace {

// how: further keys of the fault ("hang", "statusOnly", "bytes").
QJsonObject failOperation(const QString& operation, int chunk = 0, const QJsonObject& how = {})
{
    QJsonObject o{{"operation", operation}, {"chunk", chunk}};
    for (auto it = how.begin(); it != how.end(); ++it)
        o.insert(it.key(), it.value());
    return QJsonObject{{"failOperations", QJsonArray{o}}};
}

} // namespace

QStringList kinds()
{
    return {"open",  "chunk",        "chunk status", "short chunk",       "buffer",
            "close", "close status", "close hangs",  "nothing completes", "camera drops off"};
}

Fault pick(std::mt19937_64& random, bool upload, int chunks)
{
    const QStringList all = kinds();
    std::uniform_int_distribution<int> coin(0, 1), kind(0, int(all.size()) - 1), chunk(1, chunks);
    if (coin(random) == 0)
        return {"none", QJsonObject()};
    Fault f{all[kind(random)], QJsonObject()};
    if (f.kind == "open")
        f.faults = failOperation("Open");
    else if (f.kind == "chunk")
        f.faults = failOperation(upload ? "Write" : "Read", chunk(random));
    else if (f.kind == "chunk status")
        f.faults = failOperation(upload ? "Write" : "Read", chunk(random), {{"statusOnly", true}});
    else if (f.kind == "short chunk") // fewer than any chunk, the last (32 bytes) too
        f.faults = failOperation(upload ? "Write" : "Read", chunk(random), {{"bytes", 16}});
    else if (f.kind == "buffer")
        f.faults =
            QJsonObject{{"failFeatures", QJsonArray{QJsonObject{{"feature", "FileAccessBuffer"},
                                                                {"op", upload ? "set" : "get"}}}}};
    else if (f.kind == "close")
        f.faults = failOperation("Close");
    else if (f.kind == "close status")
        f.faults = failOperation("Close", 0, {{"statusOnly", true}});
    else if (f.kind == "close hangs")
        f.faults = failOperation("Close", 0, {{"hang", true}});
    else if (f.kind == "nothing completes")
        f.faults = QJsonObject{{"commandLatencyMs", QJsonObject{{"FileOperationExecute", -1}}}};
    else // the camera leaves after 0 .. chunks - 1 chunks
        f.faults = QJsonObject{{"disconnectAfterChunks", chunk(random) - 1}};
    return f;
}

} // namespace SoakFaults
