// The plug-in for GIMP 2.10: a menu entry, a dialogue, and a procedure for scripts that apply selvane:tone-map. GIMP
// 2.10 itself shows the operations of others under Tools > GEGL Operation only, and lets no script call them.

#include "Dialog.h"
#include "Graph.h"

#include <functional>
#include <libgimp/gimp.h>
#include <stdexcept>
#include <vector>

namespace
{

using namespace SelvaneGegl;

constexpr const char* kProcedure = "plug-in-selvane-tone-map"; // also the name of its latest settings

// Of libgimp, which takes plain characters that it does not change.
char* Text(const char* pText)
{
    return const_cast<char*>(pText);
}

void Query()
{
    static const GimpParamDef parameters[] = {
        {GIMP_PDB_INT32, Text("run-mode"), Text("The run mode { RUN-INTERACTIVE (0), RUN-NONINTERACTIVE (1) }")},
        {GIMP_PDB_IMAGE, Text("image"), Text("Input image")},
        {GIMP_PDB_DRAWABLE, Text("drawable"), Text("Input drawable")},
        {GIMP_PDB_STRING, Text("settings"),
         Text("Properties of the operation selvane:tone-map that are not the default, for example \"exposure=0.5 "
              "preset=soft\"; \"\" for the suggested picture")},
    };
    gimp_install_procedure(kProcedure, "Make a picture of high dynamic range fit for display",
                           "Large differences of brightness shrink, details stay. The operation looks at the whole "
                           "drawable; the selection says where its result is taken. The values are best kept in 32-bit "
                           "floating point until then.",
                           "Selvane", "Selvane", "2026", "_Selvane...", "RGB*", GIMP_PLUGIN,
                           static_cast<int>(std::size(parameters)), 0, parameters, nullptr);
    gimp_plugin_menu_register(kProcedure, "<Image>/Colors/Tone Mapping");
}

std::string LatestSettings()
{
    const int size = gimp_get_data_size(kProcedure);
    if (size <= 0) return {};
    std::string settings(static_cast<size_t>(size), '\0');
    gimp_get_data(kProcedure, settings.data());
    return settings.substr(0, settings.find('\0'));
}

void KeepSettings(const std::string& pSettings)
{
    gimp_set_data(kProcedure, pSettings.c_str(),
                  static_cast<guint32>(pSettings.size() + 1)); // GIMP keeps no empty data
}

/// Applies the operation as one step of undo.
/// @returns whether it came to its end; if not, the drawable is as it was
bool Apply(int pDrawable, GeglBuffer* pPicture, const std::string& pSettings, const std::function<bool(double)>& pShow)
{
    const tBuffer result(gimp_drawable_get_shadow_buffer(pDrawable));
    if (!cGraph(pPicture, pSettings).Render(result.get(), pShow)) return false;
    gegl_buffer_flush(result.get());
    gimp_drawable_merge_shadow(pDrawable, TRUE);
    gimp_drawable_update(pDrawable, 0, 0, gimp_drawable_width(pDrawable), gimp_drawable_height(pDrawable));
    gimp_displays_flush();
    return true;
}

GimpPDBStatusType ProcessWithDialog(int pDrawable, GeglBuffer* pPicture)
{
    std::string settings = LatestSettings();
    if (!AskUser(pPicture, settings)) return GIMP_PDB_CANCEL;
    cProgressWindow window;
    if (!Apply(pDrawable, pPicture, settings, [&window](double pShare) { return window.Show(pShare); }))
        return GIMP_PDB_CANCEL;
    KeepSettings(settings);
    return GIMP_PDB_SUCCESS;
}

GimpPDBStatusType Process(GimpRunMode pMode, int pDrawable, const std::string& pSettings)
{
    gegl_init(nullptr, nullptr);
    const tBuffer picture(gimp_drawable_get_buffer(pDrawable));
    if (pMode == GIMP_RUN_INTERACTIVE) return ProcessWithDialog(pDrawable, picture.get());
    gimp_progress_init("Tone mapping");
    Apply(pDrawable, picture.get(), pMode == GIMP_RUN_NONINTERACTIVE ? pSettings : LatestSettings(),
          [](double pShare) { return gimp_progress_update(pShare) != 0; });
    return GIMP_PDB_SUCCESS;
}

void Run(const gchar*, gint pCount, const GimpParam* pParameters, gint* pResultCount, GimpParam** pResults)
{
    static GimpParam results[2];
    static std::string failure;
    *pResultCount = 1;
    *pResults = results;
    results[0].type = GIMP_PDB_STATUS;
    try {
        const auto mode = static_cast<GimpRunMode>(pParameters[0].data.d_int32);
        const bool told = mode == GIMP_RUN_NONINTERACTIVE && pCount > 3 && pParameters[3].data.d_string != nullptr;
        results[0].data.d_status =
            Process(mode, pParameters[2].data.d_drawable, told ? pParameters[3].data.d_string : "");
    } catch (const std::exception& error) {
        failure = error.what();
        *pResultCount = 2;
        results[0].data.d_status = GIMP_PDB_EXECUTION_ERROR;
        results[1].type = GIMP_PDB_STRING;
        results[1].data.d_string = failure.data();
    }
}

} // namespace

extern "C" const GimpPlugInInfo PLUG_IN_INFO = {nullptr, nullptr, Query, Run};

MAIN()
