#include "OrxSettingsDefaults.h"

#include <QSettings>
#include <QString>

namespace {

struct ReferencePatch
{
    const char* name;
    const char* colour; // sRGB, as the colour text the profile editor reads
    double weight;      // emphasis of the patch when fitting the weighted matrix
};

// The 24 patches of the colour chart, row by row: natural colours, chromatic
// colours, primaries and secondaries, then the grey ramp.
const ReferencePatch kReferencePatches[24] = {
    {"Dark Skin", "#735244", 1.0},    {"Light Skin", "#c29682", 2.0},
    {"Blue Sky", "#627a9d", 1.0},     {"Foliage", "#576c43", 1.0},
    {"Blue Flower", "#8580b1", 1.0},  {"Bluish Green", "#67bdaa", 1.0},
    {"Orange", "#d67e2c", 1.0},       {"Purplish Blue", "#505ba6", 1.0},
    {"Moderate Red", "#c15a63", 1.0}, {"Purple", "#5e3c6c", 1.0},
    {"Yellow Green", "#9dbc40", 1.0}, {"Orange Yellow", "#e0a32e", 1.0},
    {"Blue", "#383d96", 1.0},         {"Green", "#469449", 1.0},
    {"Red", "#af363c", 1.0},          {"Yellow", "#e7c71f", 1.0},
    {"Magenta", "#bb5695", 1.0},      {"Cyan", "#0885a1", 1.0},
    {"White", "#f5f5f3", 0.5},        {"Neutral 8", "#c8c8c8", 4.0},
    {"Neutral 6.5", "#a0a0a0", 4.0},  {"Neutral 5", "#7a7a79", 4.0},
    {"Neutral 3.5", "#555555", 4.0},  {"Black", "#343434", 0.5},
};

QString indexed(const char* prefix, int index)
{
    return QString("%1%2").arg(QLatin1String(prefix)).arg(index, 2, 10, QLatin1Char('0'));
}

void writeProfile(QSettings& settings, const QString& group, bool weighted)
{
    settings.beginGroup(group);
    settings.setValue("ColorSpace", "sRGB");
    settings.setValue("PatchCount", 24);
    for (int i = 0; i < 24; ++i) {
        settings.setValue(indexed("Name", i), kReferencePatches[i].name);
        settings.setValue(indexed("Color", i), kReferencePatches[i].colour);
        if (weighted)
            settings.setValue(indexed("Weight", i), kReferencePatches[i].weight);
    }
    settings.endGroup();
}

// A defect cluster in the 3 x 3 neighbourhood of the pixel being corrected,
// as a 9-character row-major mask ('1' = defective). The centre is always
// defective; the patterns run from the lone defect over every single
// neighbour to the pairs and lines that can still be repaired from the rest
// of the neighbourhood.
QString defectMask(int index)
{
    // Neighbour positions in the mask, clockwise from top-left.
    static const int ring[8] = {0, 1, 2, 5, 8, 7, 6, 3};
    QString mask = "000010000";
    if (index == 0)
        return mask;
    if (index <= 8) {
        mask[ring[index - 1]] = '1';
        return mask;
    }
    // Pairs of neighbours in order (a, b) with a < b; the first 25 of the 28.
    int pair = index - 9;
    for (int a = 0; a < 8; ++a) {
        for (int b = a + 1; b < 8; ++b) {
            if (pair-- == 0) {
                mask[ring[a]] = '1';
                mask[ring[b]] = '1';
                return mask;
            }
        }
    }
    return mask;
}

// The healthy neighbours averaged for the replacement: the ring without the
// defective pixels.
QString replacementMask(const QString& defects)
{
    QString sources = "111101111";
    for (int i = 0; i < 9; ++i) {
        if (defects[i] == '1')
            sources[i] = '0';
    }
    return sources;
}

} // namespace

namespace OrxSettingsDefaults {

void writeColourProfiles(QSettings& settings)
{
    settings.setValue("Profiles/Count", 2);
    settings.setValue("Profiles/Default", "Profile SRGB");
    writeProfile(settings, "Profile SRGB", false);
    writeProfile(settings, "Profile SRGB Weighted", true);
}

void writeDefectMatchTable(QSettings& settings)
{
    for (int i = 0; i <= 33; ++i) {
        const QString defects = defectMask(i);
        settings.beginGroup(indexed("DefMatch", i));
        settings.setValue("Enabled", true);
        settings.setValue("Defects", defects);
        settings.setValue("Sources", replacementMask(defects));
        settings.setValue("Method", i == 0 ? "Median" : "Mean");
        settings.endGroup();
    }
}

void writeUserMapTable(QSettings& settings)
{
    settings.beginGroup("UserMap");
    for (int i = 0; i < 5; ++i)
        settings.setValue(QString("nuc_usermap%1.ge3").arg(i), QString("User Map %1").arg(i));
    settings.endGroup();
}

} // namespace OrxSettingsDefaults
