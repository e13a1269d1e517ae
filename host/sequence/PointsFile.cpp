#include "sequence/PointsFile.h"

#include "job/CommandSteps.h"
#include "job/Develop.h"
#include "read/InputFile.h"
#include "write/OutputFile.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>

namespace SelvaneHost
{

namespace
{

using tJson = nlohmann::ordered_json;

constexpr const char* kFormat = "selvane points 1";

/// A value of a frame and its key.
struct sValue
{
    const char* fKey;
    float selvane_frame::*fMember;
};

constexpr sValue kValues[] = {
    {"compression", &selvane_frame::compression}, {"smoothness", &selvane_frame::smoothness},
    {"radius", &selvane_frame::radius},           {"adaptation", &selvane_frame::adaptation},
    {"white_clip", &selvane_frame::white_clip},   {"black_clip", &selvane_frame::black_clip},
    {"exposure", &selvane_frame::exposure},       {"contrast", &selvane_frame::contrast},
    {"saturation", &selvane_frame::saturation},   {"black_point", &selvane_frame::black_point},
    {"white_point", &selvane_frame::white_point},
};

tJson JsonOf(const selvane_frame& pFrame)
{
    tJson json;
    for (const sValue& value : kValues)
        json[value.fKey] = pFrame.*value.fMember;
    return json;
}

tJson JsonOf(const sFrame& pFrame)
{
    tJson json;
    json["input"] = pFrame.fInput;
    json["measured"] = JsonOf(pFrame.fMeasured);
    json["smooth"] = JsonOf(pFrame.fSmooth);
    json["cells"] = pFrame.fMeasured.cells;
    json["cut"] = pFrame.fSmooth.cut == 1;
    json["odd"] = pFrame.fSmooth.odd == 1;
    return json;
}

selvane_frame FrameOf(const tJson& pJson, const tJson& pCells)
{
    selvane_frame frame;
    selvane_frame_init(&frame);
    for (const sValue& value : kValues)
        frame.*value.fMember = pJson.at(value.fKey).get<float>();
    if (pCells.size() != SELVANE_FRAME_CELLS) throw cHostError("a frame has not 64 cells");
    for (size_t i = 0; i < pCells.size(); i++)
        frame.cells[i] = pCells.at(i).get<float>();
    return frame;
}

sFrame FrameOf(const tJson& pJson)
{
    sFrame frame;
    frame.fInput = pJson.at("input").get<std::string>();
    frame.fMeasured = FrameOf(pJson.at("measured"), pJson.at("cells"));
    frame.fSmooth = FrameOf(pJson.at("smooth"), pJson.at("cells"));
    frame.fSmooth.cut = pJson.at("cut").get<bool>() ? 1 : 0;
    frame.fSmooth.odd = pJson.at("odd").get<bool>() ? 1 : 0;
    return frame;
}

sPoints PointsOf(const tJson& pJson)
{
    if (!pJson.is_object() || pJson.value("format", "") != kFormat) throw cHostError("is no file of points");
    sPoints points;
    points.fWindow = pJson.at("window").get<int>();
    points.fSettings = pJson.at("settings").get<std::string>();
    for (const tJson& frame : pJson.at("frames"))
        points.fFrames.push_back(FrameOf(frame));
    return points;
}

std::string NameOf(const std::string& pPath)
{
    return std::filesystem::path(pPath).filename().string();
}

} // namespace

void WritePoints(const sPoints& pPoints, const std::string& pPath)
{
    tJson json;
    json["format"] = kFormat;
    json["window"] = pPoints.fWindow;
    json["settings"] = pPoints.fSettings;
    json["frames"] = tJson::array();
    for (const sFrame& frame : pPoints.fFrames)
        json["frames"].push_back(JsonOf(frame));
    // A name that is no UTF-8 is kept as far as it is.
    const std::string text = json.dump(1, ' ', false, tJson::error_handler_t::replace) + "\n";
    const std::span bytes(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    About(pPath, [&] { WriteFile(pPath, {bytes}); });
}

sPoints ReadPoints(const std::string& pPath)
{
    return About(pPath, [&] {
        const tBytes bytes = ReadFile(pPath, [](const tBytes&) {});
        try {
            return PointsOf(tJson::parse(bytes.begin(), bytes.end()));
        } catch (const tJson::parse_error&) {
            throw cHostError("is no file of points");
        } catch (const tJson::exception& failure) {
            throw cHostError(std::string("is no file of points: ") + failure.what());
        }
    });
}

const sFrame& FrameOf(const sPoints& pPoints, const std::string& pInput)
{
    const sFrame* found = nullptr;
    for (const sFrame& frame : pPoints.fFrames) {
        if (frame.fInput == pInput) return frame;
        if (NameOf(frame.fInput) != NameOf(pInput)) continue;
        if (found != nullptr) throw cHostError(pInput + ": the points have several frames of this name");
        found = &frame;
    }
    if (found == nullptr) throw cHostError(pInput + ": the points have no such frame");
    return *found;
}

sPoints Joined(const std::vector<sPoints>& pParts)
{
    sPoints all;
    all.fSettings = pParts.at(0).fSettings;
    std::set<std::string> inputs;
    for (const sPoints& part : pParts) {
        for (const sFrame& frame : part.fFrames) {
            if (part.fSettings != all.fSettings)
                throw cHostError(frame.fInput + ": was measured with other settings than " + all.fFrames.at(0).fInput);
            if (!inputs.insert(frame.fInput).second) throw cHostError(frame.fInput + ": comes twice");
            all.fFrames.push_back(frame);
        }
    }
    return all;
}

void SmoothAll(sPoints& pPoints, int pWindow)
{
    std::vector<selvane_frame> frames;
    for (const sFrame& frame : pPoints.fFrames)
        frames.push_back(frame.fMeasured);
    const std::vector<selvane_frame> smooth = SmoothFrames(frames, pWindow);
    for (size_t i = 0; i < smooth.size(); i++)
        pPoints.fFrames[i].fSmooth = smooth[i];
    pPoints.fWindow = pWindow;
}

} // namespace SelvaneHost
