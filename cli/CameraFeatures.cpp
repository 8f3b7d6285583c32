#include "CameraFeatures.h"

#include "OxFeatureContainer.h"
#include "SdkText.h"

#include <Hvx/Feature.h>
#include <Hvx/FeatureContainer.h>

#include <QCoreApplication>

#include <vector>

namespace CameraFeatures {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("orvex-nuc features", text);
}

QString typeName(HvFeatureDataType type)
{
    switch (type) {
    case HvFeatureDataInt:
        return "Integer";
    case HvFeatureDataFloat:
        return "Float";
    case HvFeatureDataEnum:
        return "Enumeration";
    case HvFeatureDataString:
        return "String";
    case HvFeatureDataBool:
        return "Boolean";
    case HvFeatureDataCommand:
        return "Command";
    case HvFeatureDataRaw:
        return "Register";
    case HvFeatureDataNone:
        return "Category";
    default:
        return "Unknown";
    }
}

bool hasValue(HvFeatureDataType type)
{
    return type == HvFeatureDataInt || type == HvFeatureDataFloat || type == HvFeatureDataEnum ||
           type == HvFeatureDataString || type == HvFeatureDataBool;
}

QString valueText(const QVariant& value)
{
    if (value.userType() == QMetaType::Double)
        return QString::number(value.toDouble(), 'g', 10);
    if (value.userType() == QMetaType::Bool)
        return value.toBool() ? "true" : "false";
    return value.toString();
}

} // namespace

QJsonObject Listed::toJson() const
{
    return QJsonObject{{"name", name}, {"type", type}, {"access", access}, {"value", value}};
}

QList<Listed> list(const OxFeatureContainer& features)
{
    QList<Listed> listed;
    const auto container = features.Container();
    unsigned int count = 0;
    if (!container || container->GetFeatures(nullptr, count) != HvErrorSuccess)
        return listed;
    std::vector<Hvx::FeaturePtr> all(count);
    if (count > 0 && container->GetFeatures(all.data(), count) != HvErrorSuccess)
        return listed;
    all.resize(count);
    for (const Hvx::FeaturePtr& feature : all) {
        Listed item;
        ReadSdkText(
            [&](char* text, unsigned int& length) { return feature->GetName(text, length); },
            item.name);
        HvFeatureDataType type = HvFeatureDataUnknown;
        feature->GetDataType(type);
        bool readable = false, writable = false;
        feature->IsReadable(readable);
        feature->IsWritable(writable);
        item.type = typeName(type);
        item.access = readable ? (writable ? "RW" : "RO") : (writable ? "WO" : "NA");
        QVariant value;
        if (readable && hasValue(type) && features.GetValue(item.name.toUtf8().constData(), value))
            item.value = valueText(value);
        listed << item;
    }
    return listed;
}

bool wellFormed(const QString& setting)
{
    return setting.indexOf('=') > 0;
}

bool apply(OxFeatureContainer& features, const QString& setting, QString* error)
{
    auto fail = [error](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    const int equals = setting.indexOf('=');
    if (equals <= 0)
        return fail(tr("'%1' is not NAME=VALUE").arg(setting));
    const QString name = setting.left(equals);
    const QString text = setting.mid(equals + 1);
    const QByteArray utf8 = name.toUtf8();
    Hvx::FeaturePtr feature;
    HvFeatureDataType type = HvFeatureDataUnknown;
    if (!features.Container() ||
        features.Container()->GetFeatureByName(utf8.constData(), feature) != HvErrorSuccess ||
        feature->GetDataType(type) != HvErrorSuccess)
        return fail(tr("the camera has no feature %1").arg(name));

    bool ok = true;
    QVariant value = text;
    switch (type) {
    case HvFeatureDataInt:
        value = text.toLongLong(&ok);
        break;
    case HvFeatureDataFloat:
        value = text.toDouble(&ok);
        break;
    case HvFeatureDataBool: {
        const QString t = text.toLower();
        ok = t == "true" || t == "false" || t == "1" || t == "0";
        value = t == "true" || t == "1";
        break;
    }
    case HvFeatureDataEnum:
    case HvFeatureDataString:
        break;
    default:
        return fail(tr("%1 is a %2 feature and takes no value").arg(name, typeName(type)));
    }
    if (!ok)
        return fail(tr("%1 takes a %2 value, not '%3'").arg(name, typeName(type), text));
    if (!features.SetValue(utf8.constData(), value))
        return fail(tr("the camera refused %1 = %2").arg(name, text));
    return true;
}

} // namespace CameraFeatures
