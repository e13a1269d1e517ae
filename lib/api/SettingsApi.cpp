// The C functions of settings, their text and the presets.

#include "api/Guard.h"
#include "settings/Presets.h"
#include "settings/Record.h"
#include "settings/Settings.h"
#include "settings/SettingsText.h"

#include <cstring>

using namespace SelvaneLib;

namespace
{

/// Copies a text with its final zero into the caller's memory.
void GiveText(const std::string& pText, char* pTo, size_t pSize, size_t* pNeeded)
{
    const size_t bytes = pText.size() + 1;
    if (pNeeded != nullptr) *pNeeded = bytes;
    if (pTo == nullptr) {
        Require(pSize == 0 && pNeeded != nullptr, "the memory for the text is null");
        return; // asked for the size alone
    }
    Require(pSize >= bytes, "the memory for the text is too small");
    std::memcpy(pTo, pText.c_str(), bytes);
}

} // namespace

void selvane_settings_init(selvane_settings* settings)
{
    if (settings != nullptr) *settings = DefaultSettings();
}

int selvane_settings_to_text(const selvane* handle, const selvane_settings* settings, char* text, size_t size,
                             size_t* needed)
{
    if (text != nullptr && size > 0) text[0] = 0;
    return Guarded(handle, [&] { GiveText(TextOfSettings(TakeSettings(settings)), text, size, needed); });
}

int selvane_settings_from_text(selvane* handle, const char* text, selvane_settings* settings)
{
    return Guarded(handle, [&] {
        Require(text != nullptr, "the text is null");
        CheckRecord(settings, kFirstSettingsSize);
        GiveRecord(ReadSettings({text, strnlen(text, kMostText + 1)}).fSettings, settings, kFirstSettingsSize);
    });
}

int selvane_preset(selvane* handle, const char* name, selvane_settings* settings)
{
    return Guarded(handle, [&] {
        Require(name != nullptr, "the name of the preset is null");
        CheckRecord(settings, kFirstSettingsSize);
        GiveRecord(Preset(name, UserPresets()), settings, kFirstSettingsSize);
    });
}

int selvane_preset_names(const selvane* handle, char* text, size_t size, size_t* needed)
{
    if (text != nullptr && size > 0) text[0] = 0;
    return Guarded(handle, [&] {
        std::string names;
        for (const std::string& name : PresetNames(UserPresets()))
            names += name + '\n';
        GiveText(names, text, size, needed);
    });
}

const char* selvane_preset_name(int index)
{
    return index >= 0 && index < static_cast<int>(kPresetCount) ? kPresets[static_cast<size_t>(index)].fName : nullptr;
}

const char* selvane_preset_description(int index)
{
    const char* description = nullptr;
    Guarded(nullptr, [&] { description = PresetDescription(index); });
    return description;
}
