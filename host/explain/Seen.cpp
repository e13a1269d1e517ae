#include "explain/Seen.h"

#include "picture/Errors.h"

namespace SelvaneHost
{

namespace
{

void Must(int pStatus, const selvane* pHandle)
{
    if (pStatus != SELVANE_OK) throw cHostError(selvane_error(pHandle));
}

template <class tCall>
selvane_settings SettingsBy(selvane* pHandle, tCall pCall)
{
    selvane_settings settings{};
    settings.struct_size = sizeof settings;
    Must(pCall(pHandle, &settings), pHandle);
    return settings;
}

std::string TextOf(const selvane* pHandle, const selvane_settings& pSettings)
{
    size_t needed = 0;
    Must(selvane_settings_to_text(pHandle, &pSettings, nullptr, 0, &needed), pHandle);
    std::string text(needed, '\0');
    Must(selvane_settings_to_text(pHandle, &pSettings, text.data(), text.size(), nullptr), pHandle);
    text.pop_back(); // the final zero
    return text;
}

} // namespace

sSeen SeenBy(selvane* pHandle)
{
    sSeen seen;
    seen.fReport.struct_size = sizeof seen.fReport; // first: later calls change the times
    Must(selvane_get_report(pHandle, &seen.fReport), pHandle);
    seen.fAsked = SettingsBy(pHandle, selvane_get_settings);
    seen.fUsed = SettingsBy(pHandle, selvane_effective_settings);
    seen.fText = TextOf(pHandle, seen.fUsed);
    if (seen.fAsked.automatic == 0) return seen;
    seen.fSuggested = SettingsBy(pHandle, selvane_suggest);
    for (int i = 0; const char* const reason = selvane_reason(pHandle, i); i++)
        seen.fReasons.emplace_back(reason);
    return seen;
}

} // namespace SelvaneHost
