// The operation selvane:tone-map. GEGL's header reads this file again and again, each time with other macros: what
// stands under GEGL_PROPERTIES becomes fields, their types and their descriptions.

// clang-format off
#ifdef GEGL_PROPERTIES

enum_start(selvane_tone_map_preset)
    enum_value(SELVANE_TONE_MAP_NATURAL, "natural", "Natural")
    enum_value(SELVANE_TONE_MAP_CLEAR, "clear", "Clear")
    enum_value(SELVANE_TONE_MAP_SOFT, "soft", "Soft")
    enum_value(SELVANE_TONE_MAP_DRAMATIC, "dramatic", "Dramatic")
    enum_value(SELVANE_TONE_MAP_INTERIOR, "interior", "Interior")
    enum_value(SELVANE_TONE_MAP_NIGHT, "night", "Night")
    enum_value(SELVANE_TONE_MAP_FLAT, "flat", "Flat")
enum_end(SelvaneToneMapPreset)

enum_start(selvane_tone_map_curve)
    enum_value(SELVANE_TONE_MAP_SHIFT, "shift", "Shift of hue")
    enum_value(SELVANE_TONE_MAP_SATURATION, "saturation", "Saturation")
    enum_value(SELVANE_TONE_MAP_LIGHTNESS, "lightness", "Lightness")
enum_end(SelvaneToneMapCurve)

property_boolean(suggest, "Suggest", TRUE)
    description("Look at the picture and begin with what suits it. The sliders are then added to that: all at 0 give the "
                "suggested picture.")

property_enum(preset, "Preset", SelvaneToneMapPreset, selvane_tone_map_preset, SELVANE_TONE_MAP_NATURAL)
    description("A character that is added to the suggestion")
    ui_meta("sensitive", "suggest")

property_double(exposure, "Exposure", 0.0)
    description("Brightness of the result above black, in stops")
    value_range(-20.0, 20.0)
    ui_range(-4.0, 4.0)
    ui_steps(0.05, 0.5)
    ui_digits(2)
    ui_meta("unit", "stop")

property_double(contrast, "Contrast", 0.0)
    description("Contrast of the finished picture")
    value_range(-100.0, 100.0)
    ui_digits(1)

property_double(saturation, "Saturation", 0.0)
    description("Strength of the colours; -100 is grey")
    value_range(-100.0, 100.0)
    ui_digits(1)

property_double(compression, "Compression", 0.0)
    description("Strength of the global compression: how much the large differences of brightness shrink")
    value_range(-100.0, 100.0)
    ui_digits(1)

property_double(adaptation, "Adaptation", 0.0)
    description("Bends large and small differences of brightness around their means. Below 0 with Suggest only.")
    value_range(-100.0, 100.0)
    ui_digits(1)

property_double(radius, "Radius", 0.0)
    description("Size of what counts as detail, from wide to fine")
    value_range(-10.0, 10.0)
    ui_digits(2)

property_double(smoothness, "Smoothness", 0.0)
    description("Edge tolerance of the layer under the details")
    value_range(-10.0, 10.0)
    ui_digits(2)

property_double(white_clip, "White clip", 0.0)
    description("Pixels that become white: 100 for 5 per cent of them. Below 0 with Suggest only.")
    value_range(-100.0, 100.0)
    ui_range(-20.0, 20.0)
    ui_digits(2)

property_double(black_clip, "Black clip", 0.0)
    description("Pixels that become black, in per cent. Below 0 with Suggest only.")
    value_range(-100.0, 100.0)
    ui_range(-5.0, 5.0)
    ui_digits(2)
    ui_meta("unit", "percent")

property_boolean(wrap, "Wrap around", FALSE)
    description("Left and right edge touch, as in a panorama of 360 degrees")

property_boolean(given_points, "Fixed black and white", FALSE)
    description("Take black and white from the two values below instead of measuring them: frames of a film stay alike")

property_double(black_point, "Black point", 0.0)
    description("Compressed luminance that becomes black")
    value_range(0.0, 1e30)
    ui_range(0.0, 2.0)
    ui_digits(4)
    ui_meta("visible", "given-points")

property_double(white_point, "White point", 1.0)
    description("Compressed luminance that becomes white; above the black point")
    value_range(0.0, 1e30)
    ui_range(0.0, 2.0)
    ui_digits(4)
    ui_meta("visible", "given-points")

property_enum(hue_curve, "Curve over hue", SelvaneToneMapCurve, selvane_tone_map_curve, SELVANE_TONE_MAP_SATURATION)
    description("Which of the three curves the keys below show; all three count")

#define SELVANE_HUE_KEYS(curve, text, most, unit)                    \
    SELVANE_HUE_KEY(curve, red, "Red", text, most, unit)             \
    SELVANE_HUE_KEY(curve, yellow, "Yellow", text, most, unit)       \
    SELVANE_HUE_KEY(curve, green, "Green", text, most, unit)         \
    SELVANE_HUE_KEY(curve, cyan, "Cyan", text, most, unit)           \
    SELVANE_HUE_KEY(curve, blue, "Blue", text, most, unit)           \
    SELVANE_HUE_KEY(curve, magenta, "Magenta", text, most, unit)
#define SELVANE_HUE_KEY(curve, hue, label, text, most, unit) \
    property_double(curve ## _ ## hue, label, 0.0)           \
        description(text)                                    \
        value_range(-most, most)                             \
        ui_digits(1)                                         \
        ui_meta("unit", unit)                                \
        ui_meta("visible", "hue-curve {" #curve "}")

SELVANE_HUE_KEYS(shift, "Turns this hue along the circle, towards the next one down the list", 180.0, "degrees")
SELVANE_HUE_KEYS(saturation, "Strength of this hue: -100 grey, 100 double", 100.0, "percent")
SELVANE_HUE_KEYS(lightness, "Lightness of this hue: -100 dark, 100 double; weaker the paler the colour", 100.0, "percent")

#undef SELVANE_HUE_KEYS
#undef SELVANE_HUE_KEY

#else

#include <libintl.h>

#define GETTEXT_PACKAGE "selvane" // of no catalogue: all texts are English
#define GEGL_OP_FILTER
#define GEGL_OP_NAME selvane_tone_map
#define GEGL_OP_C_SOURCE ToneMap.cpp

#include <gegl-op.h>
// clang-format on

#include "KeptMapper.h"
#include "Primaries.h"
#include "Sliders.h"

#include <exception>

using namespace SelvaneGegl;

namespace
{

GeglRectangle WholeInput(GeglOperation* pOperation)
{
    const GeglRectangle* const input = gegl_operation_source_get_bounding_box(pOperation, "input");
    return input == nullptr ? GeglRectangle{0, 0, 0, 0} : *input;
}

/// Nothing, or a plane without end: there is no picture to look at.
bool IsPicture(const GeglRectangle& pRegion)
{
    return !gegl_rectangle_is_empty(&pRegion) && !gegl_rectangle_is_infinite_plane(&pRegion);
}

sSliders SlidersOf(const GeglProperties& o)
{
    return {o.compression,
            o.smoothness,
            o.radius,
            o.adaptation,
            o.white_clip,
            o.black_clip,
            o.exposure,
            o.contrast,
            o.saturation,
            {o.shift_red, o.shift_yellow, o.shift_green, o.shift_cyan, o.shift_blue, o.shift_magenta},
            {o.saturation_red, o.saturation_yellow, o.saturation_green, o.saturation_cyan, o.saturation_blue,
             o.saturation_magenta},
            {o.lightness_red, o.lightness_yellow, o.lightness_green, o.lightness_cyan, o.lightness_blue,
             o.lightness_magenta}};
}

void SetSettings(selvane* pHandle, const GeglProperties& o)
{
    selvane_settings settings;
    selvane_settings_init(&settings);
    if (o.suggest)
        Check(pHandle, selvane_preset(pHandle, selvane_preset_name(static_cast<int>(o.preset)), &settings));
    else
        settings.automatic = 0;
    AddSliders(SlidersOf(o), settings);
    if (o.wrap) settings.wrap = 1;
    if (o.given_points) {
        settings.points = SELVANE_POINTS_GIVEN;
        settings.black_point = static_cast<float>(o.black_point);
        settings.white_point = static_cast<float>(o.white_point);
    }
    Check(pHandle, selvane_set_settings(pHandle, &settings));
}

/// GEGL has no way to end a render. A program sets this on the node, in its handler of the node's progress.
constexpr const char* kCancelKey = "selvane-cancel";

/// Shows the progress of a render. Programs open their bar at exactly 0 and close it at exactly 1.
class cShownProgress
{
public:
    explicit cShownProgress(GeglOperation* pOperation) : fOperation(pOperation) { Tell(0.0); }
    ~cShownProgress() { Tell(1.0); }
    cShownProgress(const cShownProgress&) = delete;
    cShownProgress& operator=(const cShownProgress&) = delete;

    /// Answers false to cancel.
    bool Show(double pShare) const
    {
        if (pShare > 0.0 && pShare < 1.0) Tell(pShare);
        return g_object_get_data(G_OBJECT(fOperation->node), kCancelKey) == nullptr;
    }

private:
    void Tell(double pShare) const
    {
        char message[] = "Tone mapping";
        gegl_operation_progress(fOperation, pShare, message);
    }

    GeglOperation* fOperation;
};

/// The mapper of an operation, made with its first picture.
cKeptMapper& MapperOf(GeglProperties& o)
{
    if (o.user_data == nullptr) o.user_data = new cKeptMapper;
    return *static_cast<cKeptMapper*>(o.user_data);
}

void Prepare(GeglOperation* pOperation)
{
    const Babl* const source = gegl_operation_get_source_format(pOperation, "input");
    const bool alpha = source == nullptr || babl_format_has_alpha(source) != 0;
    const Babl* const space = WorkingSpaceOf(gegl_operation_get_source_space(pOperation, "input"));
    const Babl* const format = babl_format_with_space(alpha ? "RGBA float" : "RGB float", space);
    gegl_operation_set_format(pOperation, "input", format);
    gegl_operation_set_format(pOperation, "output", format);
}

// Every pixel of the result depends on all of the input.

GeglRectangle RequiredForOutput(GeglOperation* pOperation, const gchar*, const GeglRectangle* pRegion)
{
    const GeglRectangle whole = WholeInput(pOperation);
    return IsPicture(whole) ? whole : *pRegion;
}

GeglRectangle InvalidatedByChange(GeglOperation* pOperation, const gchar*, const GeglRectangle* pRegion)
{
    const GeglRectangle whole = WholeInput(pOperation);
    return IsPicture(whole) ? whole : *pRegion;
}

GeglRectangle CachedRegion(GeglOperation* pOperation, const GeglRectangle* pRegion)
{
    const GeglRectangle whole = WholeInput(pOperation);
    return IsPicture(whole) ? whole : *pRegion;
}

gboolean Render(GeglOperation* pOperation, GeglBuffer* pInput, GeglBuffer* pOutput, const GeglRectangle* pRegion,
                gint pLevel)
{
    try {
        GeglProperties& properties = *GEGL_PROPERTIES(pOperation);
        const cShownProgress progress(pOperation);
        cKeptMapper& mapper = MapperOf(properties);
        SetSettings(mapper.Handle(), properties);
        mapper.Render(
            {pInput, pOutput, WholeInput(pOperation), pLevel, gegl_operation_get_format(pOperation, "output")},
            [&progress](double pShare) { return progress.Show(pShare); });
        return TRUE;
    } catch (const sCancelled&) {
    } catch (const std::exception& failure) {
        g_log("GEGL", G_LOG_LEVEL_WARNING, "selvane:tone-map: %s", failure.what());
    }
    gegl_buffer_copy(pInput, pRegion, GEGL_ABYSS_NONE, pOutput, pRegion); // the picture as it was
    return FALSE;
}

/// Hands on an input that is no picture.
gboolean RenderOrHandOn(GeglOperation* pOperation, GeglOperationContext* pContext, const gchar* pPad,
                        const GeglRectangle* pRegion, gint pLevel)
{
    if (IsPicture(WholeInput(pOperation)))
        return GEGL_OPERATION_CLASS(gegl_op_parent_class)->process(pOperation, pContext, pPad, pRegion, pLevel);
    GObject* const input = G_OBJECT(gegl_operation_context_get_object(pContext, "input"));
    gegl_operation_context_take_object(pContext, "output", static_cast<GObject*>(g_object_ref(input)));
    return TRUE;
}

void Finalize(GObject* pObject)
{
    GeglProperties* const properties = GEGL_PROPERTIES(pObject);
    delete static_cast<cKeptMapper*>(properties->user_data);
    properties->user_data = nullptr;
    G_OBJECT_CLASS(gegl_op_parent_class)->finalize(pObject);
}

} // namespace

static void gegl_op_class_init(GeglOpClass* pClass)
{
    GeglOperationClass* const operation = GEGL_OPERATION_CLASS(pClass);
    G_OBJECT_CLASS(pClass)->finalize = Finalize;
    operation->prepare = Prepare;
    operation->get_required_for_output = RequiredForOutput;
    operation->get_invalidated_by_change = InvalidatedByChange;
    operation->get_cached_region = CachedRegion;
    operation->process = RenderOrHandOn;
    operation->threaded = FALSE; // the library has its own threads
    operation->opencl_support = FALSE;
    GEGL_OPERATION_FILTER_CLASS(pClass)->process = Render;
    gegl_operation_class_set_keys(
        operation, "name", "selvane:tone-map", "title", "Selvane Tone Map", "categories", "tonemapping", "description",
        "Make a picture of high dynamic range fit for display: large differences of brightness shrink, details stay",
        "gimp:menu-path", "<Image>/Colors/Tone Mapping", "gimp:menu-label", "_Selvane...", nullptr);
}

#endif
