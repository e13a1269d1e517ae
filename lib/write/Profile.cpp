#include "write/Profile.h"

#include "color/MatrixProduct.h"
#include "color/cColorSpace.h"
#include "write/Space.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

namespace SelvaneLib
{

namespace
{

using tBytes = std::vector<unsigned char>;

constexpr int kSpaceCount = SELVANE_REC2020 + 1;
constexpr const char* kNames[kSpaceCount] = {"sRGB", "Adobe RGB (1998)", "ProPhoto RGB", "Display P3", "Rec. 2020"};
constexpr double kD50[3] = {0.9642, 1.0, 0.8249}; // the profile connection space, as the standard rounds it

void Add32(tBytes& pTo, uint32_t pValue)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        pTo.push_back(static_cast<unsigned char>(pValue >> shift));
}

void Add16(tBytes& pTo, unsigned pValue)
{
    pTo.push_back(static_cast<unsigned char>(pValue >> 8));
    pTo.push_back(static_cast<unsigned char>(pValue));
}

void AddSignature(tBytes& pTo, const char* pFour)
{
    for (int i = 0; i < 4; i++)
        pTo.push_back(static_cast<unsigned char>(pFour[i]));
}

void Append(tBytes& pTo, const tBytes& pFrom)
{
    for (const unsigned char byte : pFrom)
        pTo.push_back(byte);
}

/// A signed number of 15 bits before and 16 behind the point.
void AddFixed(tBytes& pTo, double pValue)
{
    Add32(pTo, static_cast<uint32_t>(static_cast<int32_t>(std::lround(pValue * 65536.0))));
}

/// Begins a tag of a type: its signature and four zeros.
tBytes Tag(const char* pType)
{
    tBytes tag;
    AddSignature(tag, pType);
    Add32(tag, 0);
    return tag;
}

/// English text, in UTF-16.
tBytes TextTag(const std::string& pText)
{
    tBytes tag = Tag("mluc");
    Add32(tag, 1);  // one record
    Add32(tag, 12); // of 12 bytes
    AddSignature(tag, "enUS");
    Add32(tag, static_cast<uint32_t>(2 * pText.size()));
    Add32(tag, 28); // where the text begins
    for (const char letter : pText)
        Add16(tag, static_cast<unsigned char>(letter));
    return tag;
}

tBytes XYZTag(double pX, double pY, double pZ)
{
    tBytes tag = Tag("XYZ ");
    AddFixed(tag, pX);
    AddFixed(tag, pY);
    AddFixed(tag, pZ);
    return tag;
}

/// Numbers g, a, b, c, d of Y = (a X + b)^g from d on, c X below.
tBytes CurveTag(const sCurve& pCurve)
{
    tBytes tag = Tag("para");
    std::vector<double> numbers;
    switch (pCurve.fKind) {
    case eCurve::Srgb:
        numbers = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
        break;
    case eCurve::Rec2020:
        numbers = {1 / 0.45, 1 / 1.09929682680944, 0.09929682680944 / 1.09929682680944, 1 / 4.5,
                   4.5 * 0.018053968510807};
        break;
    case eCurve::Power:
        numbers = {pCurve.fGamma};
        break;
    case eCurve::Linear:
        numbers = {1.0};
        break;
    }
    Add16(tag, numbers.size() == 1 ? 0 : 3); // function type
    Add16(tag, 0);
    for (const double number : numbers)
        AddFixed(tag, number);
    return tag;
}

Vornik::cMatrixD33 Widened(const Vornik::cMatrix33& m)
{
    const auto wide = [](float pValue) { return static_cast<double>(pValue); };
    return {wide(m.m00), wide(m.m01), wide(m.m02), wide(m.m10), wide(m.m11),
            wide(m.m12), wide(m.m20), wide(m.m21), wide(m.m22)};
}

/// From XYZ under the space's white to XYZ under D50.
tBytes AdaptationTag(int pSpace)
{
    const float* xy = ChromaticitiesOf(pSpace).fXY;
    const Vornik::cMatrixD33 back =
        Widened(Vornik::cColorSpace::XYZToRGBTransform(xy[0], xy[1], xy[2], xy[3], xy[4], xy[5], xy[6], xy[7]));
    const Vornik::cMatrixD33 m = Vornik::Multiply(Widened(ToXYZ(pSpace)), back);
    tBytes tag = Tag("sf32");
    for (const double entry : {m.m00, m.m01, m.m02, m.m10, m.m11, m.m12, m.m20, m.m21, m.m22})
        AddFixed(tag, entry);
    return tag;
}

struct sNamedTag
{
    const char* fName;
    tBytes fBytes;
};

std::vector<sNamedTag> TagsOf(int pSpace, bool pLinear)
{
    const Vornik::cMatrixD33 m = Widened(ToXYZ(pSpace));
    const sCurve curve = pLinear ? sCurve{eCurve::Linear, 0.0} : CurveOf(pSpace);
    return {{"desc", TextTag(std::string(kNames[pSpace]) + (pLinear ? ", linear" : ""))},
            {"cprt", TextTag("No copyright, use freely")},
            {"wtpt", XYZTag(kD50[0], kD50[1], kD50[2])},
            {"chad", AdaptationTag(pSpace)},
            {"rXYZ", XYZTag(m.m00, m.m10, m.m20)},
            {"gXYZ", XYZTag(m.m01, m.m11, m.m21)},
            {"bXYZ", XYZTag(m.m02, m.m12, m.m22)},
            {"rTRC", CurveTag(curve)},
            {"gTRC", CurveTag(curve)},
            {"bTRC", CurveTag(curve)}};
}

tBytes Header(size_t pSize)
{
    tBytes header;
    Add32(header, static_cast<uint32_t>(pSize));
    Add32(header, 0);          // no preferred colour engine
    Add32(header, 0x04300000); // version 4.3
    for (const char* four : {"mntr", "RGB ", "XYZ "})
        AddSignature(header, four);
    for (const unsigned part : {2026u, 1u, 1u, 0u, 0u, 0u}) // date, always the same
        Add16(header, part);
    AddSignature(header, "acsp");
    header.resize(64); // platform, flags, maker, model, attributes: none
    Add32(header, 0);  // perceptual intent
    for (const double value : kD50)
        AddFixed(header, value);
    header.resize(128);
    return header;
}

tBytes ProfileBytes(int pSpace, bool pLinear)
{
    const std::vector<sNamedTag> tags = TagsOf(pSpace, pLinear);
    tBytes table, data;
    const size_t first = 128 + 4 + 12 * tags.size();
    Add32(table, static_cast<uint32_t>(tags.size()));
    for (const sNamedTag& tag : tags) {
        AddSignature(table, tag.fName);
        Add32(table, static_cast<uint32_t>(first + data.size()));
        Add32(table, static_cast<uint32_t>(tag.fBytes.size()));
        Append(data, tag.fBytes);
        data.resize((data.size() + 3) / 4 * 4);
    }
    tBytes profile = Header(first + data.size());
    Append(profile, table);
    Append(profile, data);
    return profile;
}

sProfile EngineProfile(int pSpace)
{
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    if (pSpace == SELVANE_SRGB) Vornik::cColorSpace_sRGB::GetICCProfile(bytes, size);
    if (pSpace == SELVANE_ADOBE_RGB) Vornik::cColorSpace_AdobeRGB98::GetICCProfile(bytes, size);
    if (pSpace == SELVANE_PROPHOTO) Vornik::cColorSpace_ProPhotoRGB::GetICCProfile(bytes, size);
    return {bytes, size};
}

} // namespace

sProfile ProfileOf(int pSpace, bool pLinear)
{
    if (!pLinear && pSpace <= SELVANE_PROPHOTO) return EngineProfile(pSpace);
    static std::mutex mutex;
    static auto* const profiles = new tBytes[2 * static_cast<size_t>(kSpaceCount)]; // lives as long as the process
    const std::lock_guard lock(mutex);
    tBytes& profile = profiles[2 * pSpace + (pLinear ? 1 : 0)];
    if (profile.empty()) profile = ProfileBytes(pSpace, pLinear);
    return {profile.data(), profile.size()};
}

} // namespace SelvaneLib
