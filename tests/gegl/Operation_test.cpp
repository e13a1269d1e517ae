// The operation in a graph of this process.

#include "KeptMapper.h"
#include "Primaries.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <gegl-paramspecs.h>
#include <gegl-plugin.h>
#include <gtest/gtest.h>
#include <map>
#include <numeric>
#include <string>
#include <vector>

namespace SelvaneGegl
{
namespace
{

constexpr int kWidth = 150, kHeight = 140; // more than one tile
constexpr GeglRectangle kWhole{0, 0, kWidth, kHeight};

struct sLog
{
    int fReadings = 0; ///< pictures that a mapper has read
    int fRenders = 0;
    std::string fWarning; ///< the latest
} gLog;

GLogWriterOutput TakeLine(GLogLevelFlags pLevel, const GLogField* pFields, gsize pCount, void*)
{
    for (gsize i = 0; i < pCount; i++) {
        if (std::strcmp(pFields[i].key, "MESSAGE") != 0) continue;
        const std::string line = static_cast<const char*>(pFields[i].value);
        gLog.fReadings += line.starts_with("selvane:tone-map: read ") ? 1 : 0;
        gLog.fRenders += line.starts_with("selvane:tone-map: rendered ") ? 1 : 0;
        if ((pLevel & G_LOG_LEVEL_WARNING) != 0) gLog.fWarning = line;
    }
    return G_LOG_WRITER_HANDLED;
}

std::vector<float> Scene(int pChannels)
{
    std::vector<float> scene;
    for (int y = 0; y < kHeight; y++)
        for (int x = 0; x < kWidth; x++) {
            const float light =
                std::exp2(static_cast<float>(x) * 0.08f) * (1.0f + 0.3f * std::sin(static_cast<float>(y)));
            const std::array<float, 4> pixel = {light, 0.7f * light, 0.4f * light + 0.01f * static_cast<float>(y),
                                                static_cast<float>((x + 3 * y) % 11) * 0.1f};
            scene.insert(scene.end(), pixel.begin(), pixel.begin() + pChannels);
        }
    return scene;
}

/// "RGBA float" or "RGB float".
const Babl* Floats(int pChannels, const Babl* pSpace = nullptr)
{
    return babl_format_with_space(pChannels == 4 ? "RGBA float" : "RGB float", pSpace);
}

tBuffer BufferOf(const std::vector<float>& pPixels, const Babl* pFormat)
{
    tBuffer buffer(gegl_buffer_new(&kWhole, pFormat));
    gegl_buffer_set(buffer.get(), &kWhole, 0, pFormat, pPixels.data(), GEGL_AUTO_ROWSTRIDE);
    return buffer;
}

std::vector<float> PixelsOf(GeglBuffer* pBuffer, const Babl* pFormat)
{
    const GeglRectangle* const size = gegl_buffer_get_extent(pBuffer);
    std::vector<float> pixels(static_cast<size_t>(size->width) * static_cast<size_t>(size->height) *
                              static_cast<size_t>(babl_format_get_n_components(pFormat)));
    gegl_buffer_get(pBuffer, size, 1.0, pFormat, pixels.data(), GEGL_AUTO_ROWSTRIDE, GEGL_ABYSS_NONE);
    return pixels;
}

/// Settings of the library: a preset with changes.
selvane_settings SettingsOf(const char* pPreset)
{
    selvane* const handle = selvane_new();
    selvane_settings settings;
    selvane_settings_init(&settings);
    EXPECT_EQ(selvane_preset(handle, pPreset, &settings), SELVANE_OK);
    selvane_free(handle);
    return settings;
}

/// What the library makes of the pixels, in their own primaries.
std::vector<float> Expected(const std::vector<float>& pPixels, int pWidth, int pHeight, const sPrimaries& pPrimaries,
                            const selvane_settings& pSettings = SettingsOf("natural"))
{
    std::vector<float> result(pPixels.size());
    selvane_picture picture{};
    picture.struct_size = sizeof picture;
    picture.width = pWidth;
    picture.height = pHeight;
    picture.format = SELVANE_F32;
    picture.channels = static_cast<int>(pPixels.size()) / (pWidth * pHeight);
    picture.primaries = pPrimaries.fNumber;
    picture.pixels = pPixels.data();
    selvane_target target{};
    target.struct_size = sizeof target;
    target.width = pWidth;
    target.height = pHeight;
    target.format = SELVANE_F32;
    target.channels = picture.channels;
    target.space = pPrimaries.fNumber;
    target.linear = 1;
    target.pixels = result.data();
    std::copy(pPrimaries.fXY, pPrimaries.fXY + 8, picture.chromaticities);
    std::copy(pPrimaries.fXY, pPrimaries.fXY + 8, target.chromaticities);
    selvane* const handle = selvane_new();
    EXPECT_EQ(selvane_set_settings(handle, &pSettings), SELVANE_OK) << selvane_error(handle);
    EXPECT_EQ(selvane_set_picture(handle, &picture), SELVANE_OK) << selvane_error(handle);
    EXPECT_EQ(selvane_render(handle, &target), SELVANE_OK) << selvane_error(handle);
    selvane_free(handle);
    return result;
}

constexpr sPrimaries kSrgb{SELVANE_SRGB, {}};

bool SameBits(const std::vector<float>& pOne, const std::vector<float>& pOther)
{
    return pOne.size() == pOther.size() && std::memcmp(pOne.data(), pOther.data(), pOne.size() * sizeof(float)) == 0;
}

/// A buffer, the operation, and a result.
class cGraph
{
public:
    explicit cGraph(GeglBuffer* pInput)
        : fRoot(gegl_node_new()),
          fSource(gegl_node_new_child(fRoot, "operation", "gegl:buffer-source", "buffer", pInput, nullptr)),
          fToneMap(gegl_node_new_child(fRoot, "operation", "selvane:tone-map", nullptr))
    {
        gegl_node_link(fSource, fToneMap);
    }
    ~cGraph() { g_object_unref(fRoot); }
    cGraph(const cGraph&) = delete;
    cGraph& operator=(const cGraph&) = delete;

    tBuffer Result()
    {
        GeglBuffer* result = nullptr;
        GeglNode* const sink = gegl_node_new_child(fRoot, "operation", "gegl:buffer-sink", "buffer", &result, nullptr);
        gegl_node_link(fToneMap, sink);
        gegl_node_process(sink);
        gegl_node_remove_child(fRoot, sink);
        return tBuffer(result);
    }

    std::vector<float> Pixels(const Babl* pFormat) { return PixelsOf(Result().get(), pFormat); }

    GeglNode* const fRoot;
    GeglNode* const fSource;
    GeglNode* const fToneMap;
};

class Operation : public testing::Test
{
protected:
    void SetUp() override { gLog = {}; }
};

// ---- Samples --------------------------------------------------------------------------------------------------------

TEST_F(Operation, GivesTheSamplesOfTheLibraryInAnySpace)
{
    const Babl* const own = babl_space_from_chromaticities("own", 0.3457, 0.3585, 0.70, 0.31, 0.19, 0.75, 0.14, 0.05,
                                                           babl_trc("linear"), nullptr, nullptr, BABL_SPACE_FLAG_NONE);
    const sPrimaries ownPrimaries{SELVANE_CUSTOM, {0.70f, 0.31f, 0.19f, 0.75f, 0.14f, 0.05f, 0.3457f, 0.3585f}};
    const sPrimaries rec2020{SELVANE_REC2020, {}};
    const struct
    {
        const Babl* fSpace;
        sPrimaries fPrimaries;
    } cases[] = {{babl_space("sRGB"), kSrgb}, {babl_space("Rec2020"), rec2020}, {own, ownPrimaries}};
    for (const auto& one : cases)
        for (const int channels : {3, 4}) {
            const std::vector<float> scene = Scene(channels);
            const Babl* const format = Floats(channels, one.fSpace);
            const tBuffer input = BufferOf(scene, format);
            const tBuffer result = cGraph(input.get()).Result();
            EXPECT_EQ(gegl_buffer_get_format(result.get()), format) << babl_get_name(format);
            EXPECT_TRUE(SameBits(PixelsOf(result.get(), format), Expected(scene, kWidth, kHeight, one.fPrimaries)))
                << babl_get_name(format);
        }
}

TEST_F(Operation, AlphaStaysBitForBit)
{
    std::vector<float> scene = Scene(4);
    const float odd[] = {0.0f, 1e-30f, 0.5f, 1.0f, 1.5f};
    for (size_t i = 0; i < 5; i++)
        scene[4 * i + 3] = odd[i];
    const tBuffer input = BufferOf(scene, Floats(4));
    const std::vector<float> seen = cGraph(input.get()).Pixels(Floats(4));
    for (size_t i = 3; i < seen.size(); i += 4)
        ASSERT_EQ(std::memcmp(&seen[i], &scene[i], sizeof(float)), 0) << scene[i];
}

TEST_F(Operation, EncodedIntegersAreWorkedOnAsLinearFloats)
{
    const tBuffer input(gegl_buffer_new(&kWhole, babl_format("R'G'B' u8")));
    const std::vector<float> scene = Scene(3);
    gegl_buffer_set(input.get(), &kWhole, 0, Floats(3), scene.data(), GEGL_AUTO_ROWSTRIDE);
    const tBuffer result = cGraph(input.get()).Result();
    EXPECT_EQ(gegl_buffer_get_format(result.get()), Floats(3));
    EXPECT_TRUE(SameBits(PixelsOf(result.get(), Floats(3)),
                         Expected(PixelsOf(input.get(), Floats(3)), kWidth, kHeight, kSrgb)));
}

/// An ICC profile (ICC.1:2001-04) of linear greys: header, white point D50, curve of one value, gamma 1.
std::string GreyProfile()
{
    const auto number = [](uint32_t pValue) {
        return std::string{static_cast<char>(pValue >> 24), static_cast<char>(pValue >> 16),
                           static_cast<char>(pValue >> 8), static_cast<char>(pValue)};
    };
    const std::string d50 = number(0xF6D6) + number(0x10000) + number(0xD32D);
    std::string profile =
        number(192) + number(0) + number(0x02400000) + "mntrGRAYXYZ " + std::string(12, '\0') + "acsp";
    profile += std::string(28, '\0') + d50;
    profile.resize(128);
    profile += number(2) + "wtpt" + number(156) + number(20) + "kTRC" + number(176) + number(14);
    profile += "XYZ " + number(0) + d50 + "curv" + number(0) + number(1) + std::string("\x01\0\0\0", 4);
    return profile;
}

TEST_F(Operation, GreysAreWorkedOnAsSrgb)
{
    const std::string profile = GreyProfile();
    const char* error = nullptr;
    const Babl* const space = babl_space_from_icc(profile.data(), static_cast<int>(profile.size()),
                                                  BABL_ICC_INTENT_RELATIVE_COLORIMETRIC, &error);
    ASSERT_NE(space, nullptr) << error;
    ASSERT_TRUE(babl_space_is_gray(space));
    for (const Babl* const grey : {babl_format("Y float"), babl_format_with_space("Y float", space)}) {
        const tBuffer input(gegl_buffer_new(&kWhole, grey));
        std::vector<float> light;
        for (const std::vector<float> scene = Scene(3); light.size() < scene.size() / 3;)
            light.push_back(scene[3 * light.size()]);
        gegl_buffer_set(input.get(), &kWhole, 0, grey, light.data(), GEGL_AUTO_ROWSTRIDE);
        const tBuffer result = cGraph(input.get()).Result();
        EXPECT_EQ(gegl_buffer_get_format(result.get()), Floats(3));
        EXPECT_TRUE(SameBits(PixelsOf(result.get(), Floats(3)),
                             Expected(PixelsOf(input.get(), Floats(3)), kWidth, kHeight, kSrgb)));
    }
}

// ---- Properties -----------------------------------------------------------------------------------------------------

std::map<std::string, GParamSpec*> Properties()
{
    guint count = 0;
    GParamSpec** const list = gegl_operation_list_properties("selvane:tone-map", &count);
    std::map<std::string, GParamSpec*> properties;
    for (guint i = 0; i < count; i++)
        properties[list[i]->name] = list[i];
    g_free(list);
    return properties;
}

const std::map<std::string, float selvane_settings::*> kSliders = {
    {"compression", &selvane_settings::compression}, {"smoothness", &selvane_settings::smoothness},
    {"radius", &selvane_settings::radius},           {"adaptation", &selvane_settings::adaptation},
    {"white-clip", &selvane_settings::white_clip},   {"black-clip", &selvane_settings::black_clip},
    {"exposure", &selvane_settings::exposure},       {"contrast", &selvane_settings::contrast},
    {"saturation", &selvane_settings::saturation}};

TEST_F(Operation, SlidersHaveTheRangesOfTheLibrary)
{
    selvane* const handle = selvane_new();
    const auto properties = Properties();
    for (const auto& [name, member] : kSliders) {
        ASSERT_TRUE(properties.contains(name)) << name;
        const GParamSpecDouble* const range = G_PARAM_SPEC_DOUBLE(properties.at(name));
        EXPECT_EQ(range->default_value, 0.0) << name;
        for (const double end : {range->minimum, range->maximum}) {
            selvane_settings settings;
            selvane_settings_init(&settings);
            settings.*member = static_cast<float>(end);
            EXPECT_EQ(selvane_set_settings(handle, &settings), SELVANE_OK) << name << " " << end;
            settings.*member = static_cast<float>(end * 1.001);
            EXPECT_EQ(selvane_set_settings(handle, &settings), SELVANE_ERROR_ARGUMENT) << name << " " << end;
        }
    }
    selvane_free(handle);
}

TEST_F(Operation, EveryPropertyIsDescribed)
{
    for (const auto& [name, property] : Properties()) {
        EXPECT_GT(std::strlen(g_param_spec_get_blurb(property)), 15u) << name;
        EXPECT_GT(std::strlen(g_param_spec_get_nick(property)), 2u) << name;
    }
}

TEST_F(Operation, EachSliderIsThatOfTheLibrary)
{
    const std::vector<float> scene = Scene(3);
    const tBuffer input = BufferOf(scene, Floats(3));
    for (const auto& [name, member] : kSliders) {
        cGraph graph(input.get());
        gegl_node_set(graph.fToneMap, name.c_str(), 3.0, nullptr);
        selvane_settings settings = SettingsOf("natural");
        settings.*member = 3.0f;
        EXPECT_TRUE(SameBits(graph.Pixels(Floats(3)), Expected(scene, kWidth, kHeight, kSrgb, settings))) << name;
    }
}

TEST_F(Operation, PresetsAreThoseOfTheLibraryInItsOrder)
{
    GParamSpec* const property = Properties().at("preset");
    auto* const presets = static_cast<GEnumClass*>(g_type_class_ref(property->value_type));
    const std::vector<float> scene = Scene(3);
    const tBuffer input = BufferOf(scene, Floats(3));
    guint count = 0;
    for (; selvane_preset_name(static_cast<int>(count)) != nullptr; count++) {
        const char* const name = selvane_preset_name(static_cast<int>(count));
        ASSERT_LT(count, presets->n_values);
        EXPECT_STREQ(presets->values[count].value_nick, name);
        cGraph graph(input.get());
        gegl_node_set(graph.fToneMap, "preset", presets->values[count].value, nullptr);
        EXPECT_TRUE(SameBits(graph.Pixels(Floats(3)), Expected(scene, kWidth, kHeight, kSrgb, SettingsOf(name))))
            << name;
    }
    EXPECT_EQ(count, presets->n_values);
    g_type_class_unref(presets);
}

TEST_F(Operation, WithoutSuggestTheSlidersStandAsTheyAre)
{
    const std::vector<float> scene = Scene(3);
    const tBuffer input = BufferOf(scene, Floats(3));
    cGraph graph(input.get());
    gegl_node_set(graph.fToneMap, "suggest", FALSE, "compression", 20.0, "preset", 3, nullptr);
    selvane_settings settings;
    selvane_settings_init(&settings);
    settings.automatic = 0;
    settings.compression = 20.0f;
    EXPECT_TRUE(SameBits(graph.Pixels(Floats(3)), Expected(scene, kWidth, kHeight, kSrgb, settings)));
}

TEST_F(Operation, CurvesWrapAndPointsReachTheLibrary)
{
    const std::vector<float> scene = Scene(3);
    const tBuffer input = BufferOf(scene, Floats(3));
    selvane_settings settings = SettingsOf("natural");
    settings.wrap = 1;
    settings.points = SELVANE_POINTS_GIVEN;
    settings.black_point = 0.125f;
    settings.white_point = 0.75f;
    for (selvane_curve* const curve : {&settings.hue, &settings.hue_saturation, &settings.hue_lightness}) {
        curve->count = 6;
        for (int i = 0; i < 6; i++)
            curve->points[i] = {static_cast<float>(i / 6.0), 0.5f};
    }
    settings.hue.points[0].y = 0.75f;
    settings.hue_saturation.points[1].y = 0.0f;
    settings.hue_lightness.points[5].y = 0.25f;
    cGraph graph(input.get());
    gegl_node_set(graph.fToneMap, "wrap", TRUE, "given-points", TRUE, "black-point", 0.125, "white-point", 0.75,
                  "shift-red", 90.0, "saturation-yellow", -100.0, "lightness-magenta", -50.0, nullptr);
    EXPECT_TRUE(SameBits(graph.Pixels(Floats(3)), Expected(scene, kWidth, kHeight, kSrgb, settings)));
}

// ---- The kept picture -----------------------------------------------------------------------------------------------

TEST_F(Operation, AMovedSliderReadsNothingAgain)
{
    const std::vector<float> scene = Scene(4);
    const tBuffer input = BufferOf(scene, Floats(4));
    cGraph graph(input.get());
    graph.Result();
    for (const double exposure : {0.5, -0.25}) {
        gegl_node_set(graph.fToneMap, "exposure", exposure, nullptr);
        selvane_settings settings = SettingsOf("natural");
        settings.exposure = static_cast<float>(exposure);
        EXPECT_TRUE(SameBits(graph.Pixels(Floats(4)), Expected(scene, kWidth, kHeight, kSrgb, settings)));
    }
    EXPECT_EQ(gLog.fReadings, 1);
    EXPECT_EQ(gLog.fRenders, 3);
}

/// Every way in which a picture can change, also behind the operation's back.
TEST_F(Operation, AChangedPixelIsNeverMissed)
{
    std::vector<float> scene = Scene(3);
    const tBuffer input = BufferOf(scene, Floats(3));
    cGraph graph(input.get());
    graph.Result();
    int readings = 1;
    for (const GeglRectangle& pixel : {GeglRectangle{0, 0, 1, 1}, GeglRectangle{kWidth - 1, kHeight - 1, 1, 1},
                                       GeglRectangle{127, 128, 1, 1}, GeglRectangle{128, 127, 1, 1}}) {
        const float color[3] = {1e3f, 5.0f, static_cast<float>(pixel.x)};
        std::copy(color, color + 3, scene.begin() + 3 * (pixel.y * kWidth + pixel.x));
        gegl_buffer_set(input.get(), &pixel, 0, Floats(3), color, GEGL_AUTO_ROWSTRIDE);
        EXPECT_TRUE(SameBits(graph.Pixels(Floats(3)), Expected(scene, kWidth, kHeight, kSrgb)))
            << pixel.x << ", " << pixel.y;
        EXPECT_EQ(gLog.fReadings, ++readings);
    }
    const tBuffer wide = BufferOf(scene, Floats(3, babl_space("Rec2020")));
    gegl_node_set(graph.fSource, "buffer", wide.get(), nullptr);
    EXPECT_TRUE(SameBits(graph.Pixels(Floats(3, babl_space("Rec2020"))),
                         Expected(scene, kWidth, kHeight, {SELVANE_REC2020, {}})));
}

TEST_F(Operation, AnotherSpaceForTheSamePixelsIsAnotherPicture)
{
    const tBuffer input = BufferOf(Scene(3), Floats(3));
    const tBuffer output(gegl_buffer_new(&kWhole, Floats(3)));
    const Babl* const wide = Floats(3, babl_space("Rec2020"));
    selvane_settings settings;
    selvane_settings_init(&settings);
    cKeptMapper mapper;
    mapper.Render({input.get(), output.get(), kWhole, 0, Floats(3)}, [](double) { return true; });
    const tBuffer second(gegl_buffer_new(&kWhole, wide));
    mapper.Render({input.get(), second.get(), kWhole, 0, wide}, [](double) { return true; });
    EXPECT_TRUE(SameBits(PixelsOf(second.get(), wide),
                         Expected(PixelsOf(input.get(), wide), kWidth, kHeight, {SELVANE_REC2020, {}}, settings)));
}

TEST_F(Operation, TheSamePixelsInAnotherBufferAreTheSamePicture)
{
    const tBuffer input = BufferOf(Scene(3), Floats(3));
    const tBuffer other = BufferOf(Scene(3), Floats(3));
    cGraph graph(input.get());
    graph.Result();
    gegl_node_set(graph.fSource, "buffer", other.get(), nullptr);
    graph.Result();
    EXPECT_EQ(gLog.fReadings, 1);
    EXPECT_EQ(gLog.fRenders, 2);
}

TEST_F(Operation, RememberedPixelsShareTheTilesOfTheOriginal)
{
    const GeglRectangle tiles{0, 0, 1280, 1280};
    const Babl* const format = Floats(4);
    const tBuffer input(gegl_buffer_new(&tiles, format));
    const std::vector<float> pixels(size_t{4} * 1280 * 1280, 0.5f);
    gegl_buffer_set(input.get(), &tiles, 0, format, pixels.data(), GEGL_AUTO_ROWSTRIDE);
    const tBuffer copy = Remember(input.get());
    GeglBufferIterator* const at =
        gegl_buffer_iterator_new(input.get(), &tiles, 0, format, GEGL_ACCESS_READ, GEGL_ABYSS_NONE, 2);
    gegl_buffer_iterator_add(at, copy.get(), &tiles, 0, format, GEGL_ACCESS_READ, GEGL_ABYSS_NONE);
    int shared = 0, all = 0;
    while (gegl_buffer_iterator_next(at)) {
        shared += at->items[0].data == at->items[1].data ? 1 : 0;
        all++;
    }
    EXPECT_EQ(all, 100);
    EXPECT_EQ(shared, all);
    EXPECT_TRUE(HoldTheSame(input.get(), copy.get()));
}

// ---- The whole picture ----------------------------------------------------------------------------------------------

/// The input is computed no further than the operation asks for. A product with 1 leaves every bit.
TEST_F(Operation, APartOfTheResultIsThatOfTheWholeAndRenderedOnce)
{
    const std::vector<float> scene = Scene(3);
    const tBuffer input = BufferOf(scene, Floats(3));
    const std::vector<float> whole = Expected(scene, kWidth, kHeight, kSrgb);
    cGraph graph(input.get());
    GeglNode* const product = gegl_node_new_child(graph.fRoot, "operation", "gegl:multiply", "value", 1.0, nullptr);
    gegl_node_link_many(graph.fSource, product, graph.fToneMap, nullptr);
    for (const GeglRectangle& part : {GeglRectangle{10, 20, 30, 40}, GeglRectangle{100, 90, 50, 50}}) {
        std::vector<float> seen(static_cast<size_t>(3 * part.width * part.height));
        gegl_node_blit(graph.fToneMap, 1.0, &part, Floats(3), seen.data(), GEGL_AUTO_ROWSTRIDE, GEGL_BLIT_CACHE);
        for (int y = 0; y < part.height; y++)
            ASSERT_EQ(std::memcmp(seen.data() + ptrdiff_t{3} * y * part.width,
                                  whole.data() + ptrdiff_t{3} * ((part.y + y) * kWidth + part.x),
                                  static_cast<size_t>(part.width) * 3 * sizeof(float)),
                      0);
    }
    EXPECT_EQ(gLog.fRenders, 1);
}

TEST_F(Operation, EveryPixelDependsOnAll)
{
    const tBuffer input = BufferOf(Scene(3), Floats(3));
    cGraph graph(input.get());
    graph.Result();
    GeglRectangle invalid{};
    g_signal_connect(graph.fToneMap, "invalidated",
                     G_CALLBACK(+[](GeglNode*, GeglRectangle* pRegion, GeglRectangle* pSeen) { *pSeen = *pRegion; }),
                     &invalid);
    const GeglRectangle corner{0, 0, 1, 1};
    const float color[3] = {1.0f, 2.0f, 3.0f};
    gegl_buffer_set(input.get(), &corner, 0, Floats(3), color, GEGL_AUTO_ROWSTRIDE);
    EXPECT_TRUE(gegl_rectangle_equal(&invalid, &kWhole));
    GeglOperation* const operation = gegl_node_get_gegl_operation(graph.fToneMap);
    for (const GeglRectangle& region :
         {gegl_operation_get_required_for_output(operation, "input", &corner),
          gegl_operation_get_cached_region(operation, &corner), gegl_operation_get_bounding_box(operation)})
        EXPECT_TRUE(gegl_rectangle_equal(&region, &kWhole));
}

TEST_F(Operation, NothingAndAPlaneWithoutEndAreHandedOn)
{
    GeglNode* const root = gegl_node_new();
    GeglColor* const red = gegl_color_new("red");
    GeglNode* const plane = gegl_node_new_child(root, "operation", "gegl:color", "value", red, nullptr);
    GeglNode* const toneMap = gegl_node_new_child(root, "operation", "selvane:tone-map", nullptr);
    gegl_node_link(plane, toneMap);
    const GeglRectangle part{5, 5, 1, 1};
    std::array<float, 4> seen{};
    gegl_node_blit(toneMap, 1.0, &part, babl_format("RGBA float"), seen.data(), GEGL_AUTO_ROWSTRIDE, GEGL_BLIT_DEFAULT);
    EXPECT_EQ(seen, (std::array<float, 4>{1.0f, 0.0f, 0.0f, 1.0f}));
    g_object_unref(red);
    g_object_unref(root);
    EXPECT_EQ(gLog.fRenders, 0);
}

// ---- Reduced pictures -----------------------------------------------------------------------------------------------

TEST_F(Operation, AtALevelTheReducedPictureIsWorkedOn)
{
    const tBuffer input = BufferOf(Scene(4), Floats(4));
    const tBuffer output(gegl_buffer_new(&kWhole, Floats(4)));
    const GeglRectangle half{0, 0, kWidth / 2, kHeight / 2};
    std::vector<float> reduced(size_t{4} * (kWidth / 2) * (kHeight / 2)), seen(reduced.size());
    gegl_buffer_get(input.get(), &half, 0.5, Floats(4), reduced.data(), GEGL_AUTO_ROWSTRIDE, GEGL_ABYSS_CLAMP);
    cKeptMapper mapper;
    for (int i = 0; i < 2; i++) {
        mapper.Render({input.get(), output.get(), kWhole, 1, Floats(4)}, [](double) { return true; });
        gegl_buffer_get(output.get(), &half, 0.5, Floats(4), seen.data(), GEGL_AUTO_ROWSTRIDE, GEGL_ABYSS_NONE);
        selvane_settings settings;
        selvane_settings_init(&settings);
        EXPECT_TRUE(SameBits(seen, Expected(reduced, half.width, half.height, kSrgb, settings)));
    }
    EXPECT_EQ(gLog.fReadings, 1);
}

// ---- Progress and failures ------------------------------------------------------------------------------------------

TEST_F(Operation, ProgressBeginsAtNothingAndEndsWithAll)
{
    const tBuffer input = BufferOf(Scene(3), Floats(3));
    cGraph graph(input.get());
    std::vector<double> shares;
    g_signal_connect(
        graph.fToneMap, "progress",
        G_CALLBACK(+[](GeglNode*, double pShare, std::vector<double>* pShares) { pShares->push_back(pShare); }),
        &shares);
    graph.Result();
    ASSERT_GE(shares.size(), 2u);
    EXPECT_EQ(shares.front(), 0.0);
    EXPECT_EQ(shares.back(), 1.0);
    EXPECT_TRUE(std::is_sorted(shares.begin(), shares.end()));
    EXPECT_EQ(std::count(shares.begin(), shares.end(), 1.0), 1);
}

TEST_F(Operation, ACancelledRenderLeavesThePicture)
{
    const std::vector<float> scene = Scene(3);
    const tBuffer input = BufferOf(scene, Floats(3));
    cGraph graph(input.get());
    const auto cancel =
        +[](GeglNode* pNode, double, void*) { g_object_set_data(G_OBJECT(pNode), "selvane-cancel", pNode); };
    const gulong handler = g_signal_connect(graph.fToneMap, "progress", G_CALLBACK(cancel), nullptr);
    EXPECT_TRUE(SameBits(graph.Pixels(Floats(3)), scene));
    EXPECT_EQ(gLog.fRenders, 0);
    g_signal_handler_disconnect(graph.fToneMap, handler);
    g_object_set_data(G_OBJECT(graph.fToneMap), "selvane-cancel", nullptr);
    gegl_node_set(graph.fToneMap, "exposure", 0.0, nullptr); // GEGL keeps the result until something changes
    EXPECT_TRUE(SameBits(graph.Pixels(Floats(3)), Expected(scene, kWidth, kHeight, kSrgb)));
}

TEST_F(Operation, AFailureIsToldAndLeavesThePicture)
{
    const std::vector<float> scene = Scene(3);
    const tBuffer input = BufferOf(scene, Floats(3));
    cGraph graph(input.get());
    gegl_node_set(graph.fToneMap, "given-points", TRUE, "black-point", 2.0, "white-point", 1.0, nullptr);
    EXPECT_TRUE(SameBits(graph.Pixels(Floats(3)), scene));
    EXPECT_EQ(gLog.fWarning, "selvane:tone-map: white_point must lie above black_point");
    gegl_node_set(graph.fToneMap, "given-points", FALSE, nullptr);
    EXPECT_TRUE(SameBits(graph.Pixels(Floats(3)), Expected(scene, kWidth, kHeight, kSrgb)));
}

} // namespace
} // namespace SelvaneGegl

int main(int argc, char** argv)
{
    setenv("GEGL_PATH", SELVANE_GEGL_MODULES, 1);
    setenv("XDG_CONFIG_HOME", "/nowhere", 1); // no presets of whoever runs the tests
    setenv("G_MESSAGES_DEBUG", "GEGL", 1);
    g_log_set_writer_func(SelvaneGegl::TakeLine, nullptr, nullptr);
    testing::InitGoogleTest(&argc, argv);
    gegl_init(nullptr, nullptr);
    const int result = RUN_ALL_TESTS();
    gegl_exit();
    return result;
}
