// The light in the room:
//
//     sky and land   sampled over the opening, with shadows; a table of directions holds the landscape
//     sun, lamp      one jittered shadow ray each
//     other walls    the walls are cut into patches, whose light is computed once; each point gathers from all patches
//     gloss          one mirrored ray

#include "scene/Render.h"

#include "filter/DivideWork.h"
#include "scene/Landscape.h"
#include "scene/Room.h"

#include <array>
#include <cstring>

namespace SelvaneScene
{

namespace
{

constexpr double kPi = 3.14159265358979323846;
constexpr double kLift = 1e-4;    // metres from a surface to the start of a ray
constexpr int kWindowColumns = 6; // samples over the opening
constexpr int kWindowRows = 4;
constexpr int kSubpixels = 3;           // along each side of a pixel
constexpr double kPatch = 0.7;          // metres
constexpr double kOcclusionReach = 0.5; // metres

constexpr sVec kEye = {0.45, 1.46, -1.9};
constexpr sVec kTarget = {-0.12, 1.27, 6.0};
constexpr double kHalfWidth = 0.50; // tangent of half the horizontal field of view

/// A table of the landscape by direction, without the sun's disc. A cell is half a degree wide, enough for lighting.
class cSkyTable
{
public:
    cSkyTable() : fCells(Cell(0, kUp))
    {
        for (int y = 0; y < kUp; y++) {
            for (int x = 0; x < kAcross; x++) {
                const double azimuth = (x + 0.5 - kAcross / 2.0) * kCell, elevation = (y + 0.5 - kUp / 2.0) * kCell;
                fCells[Cell(x, y)] = Landscape({std::sin(azimuth) * std::cos(elevation), std::sin(elevation),
                                                std::cos(azimuth) * std::cos(elevation)});
            }
        }
    }

    sVec At(sVec pDirection) const
    {
        const int x = static_cast<int>(std::atan2(pDirection.x, pDirection.z) / kCell + kAcross / 2.0);
        const int y = static_cast<int>(std::asin(std::clamp(pDirection.y, -1.0, 1.0)) / kCell + kUp / 2.0);
        return fCells[Cell(std::clamp(x, 0, kAcross - 1), std::clamp(y, 0, kUp - 1))];
    }

private:
    static size_t Cell(int pX, int pY)
    {
        return static_cast<size_t>(pY) * static_cast<size_t>(kAcross) + static_cast<size_t>(pX);
    }

    static constexpr double kCell = 0.5 * kPi / 180.0;
    static constexpr int kAcross = 360;
    static constexpr int kUp = 360;
    std::vector<sVec> fCells;
};

const cSkyTable& SkyTable()
{
    static const cSkyTable table;
    return table;
}

sVec FromWindow(sVec pPoint, sVec pNormal, cDice& pDice)
{
    const double cell =
        (kOpeningHigh.x - kOpeningLow.x) * (kOpeningHigh.y - kOpeningLow.y) / (kWindowColumns * kWindowRows);
    sVec sum;
    for (int row = 0; row < kWindowRows; row++) {
        for (int column = 0; column < kWindowColumns; column++) {
            const double u = (column + pDice.Roll()) / kWindowColumns, v = (row + pDice.Roll()) / kWindowRows;
            const sVec target = {kOpeningLow.x + u * (kOpeningHigh.x - kOpeningLow.x),
                                 kOpeningLow.y + v * (kOpeningHigh.y - kOpeningLow.y), 6.05};
            const sVec way = target - pPoint;
            const double square = Dot(way, way);
            const sVec direction = way * (1.0 / std::sqrt(square));
            const double facing = Dot(direction, pNormal);
            if (facing <= 0.0 || direction.z <= 0.0 || !SeesOutside(pPoint, direction)) continue;
            sum = sum + SkyTable().At(direction) * (facing * direction.z * cell / std::max(square, 0.02));
        }
    }
    return sum;
}

sVec FromSun(sVec pPoint, sVec pNormal, cDice& pDice)
{
    constexpr double kBlur = 0.012; // radians; a little wider than the sun, for softer edges
    const sVec direction = Unit(SunDirection() + sVec{pDice.Roll() - 0.5, pDice.Roll() - 0.5, 0.0} * kBlur);
    const double facing = Dot(direction, pNormal);
    return facing > 0.0 && SeesOutside(pPoint, direction) ? kSunlight * facing : sVec{};
}

sVec FromLamp(sVec pPoint, sVec pNormal, cDice& pDice)
{
    const sVec jitter = sVec{pDice.Roll() - 0.5, pDice.Roll() - 0.5, pDice.Roll() - 0.5} * (1.6 * kLampRadius);
    const sVec way = kLamp + jitter - pPoint;
    const double square = Dot(way, way);
    const double distance = std::sqrt(square);
    const sVec direction = way * (1.0 / distance);
    const double facing = Dot(direction, pNormal);
    if (facing <= 0.0 || Blocked(pPoint, direction, distance)) return {};
    return kLampRadiance * (facing * kPi * kLampRadius * kLampRadius / std::max(square, 0.01));
}

sVec Direct(sVec pPoint, sVec pNormal, cDice& pDice)
{
    return FromWindow(pPoint, pNormal, pDice) + FromSun(pPoint, pNormal, pDice) + FromLamp(pPoint, pNormal, pDice);
}

/// A piece of wall, floor or ceiling that reflects light.
struct sPatch
{
    sVec fCentre;
    sVec fNormal;
    double fArea;
    sVec fAlbedo;
    sVec fLight; // outgoing radiance: radiosity over pi
};

/// Returns the light that a point receives from the patches, without shadows. The size of a patch limits its effect on
/// near points.
sVec Gather(const std::vector<sPatch>& pPatches, sVec pPoint, sVec pNormal)
{
    sVec sum;
    for (const sPatch& patch : pPatches) {
        const sVec way = patch.fCentre - pPoint;
        const double here = Dot(way, pNormal), there = -Dot(way, patch.fNormal);
        if (here <= 0.0 || there <= 0.0) continue;
        const double square = Dot(way, way) + patch.fArea / 2.0;
        sum = sum + patch.fLight * (here * there * patch.fArea / (square * square));
    }
    return sum;
}

/// Adds the patches of one side of the room, which two edges span.
void AddSide(std::vector<sPatch>& pPatches, sVec pCorner, sVec pEdgeA, sVec pEdgeB)
{
    const int a = static_cast<int>(std::ceil(Length(pEdgeA) / kPatch)),
              b = static_cast<int>(std::ceil(Length(pEdgeB) / kPatch));
    const sVec centreOfRoom = (kRoomLow + kRoomHigh) * 0.5;
    const sVec normal = Unit(Cross(pEdgeA, pEdgeB));
    for (int i = 0; i < a; i++) {
        for (int j = 0; j < b; j++) {
            sPatch patch{};
            patch.fCentre = pCorner + pEdgeA * ((i + 0.5) / a) + pEdgeB * ((j + 0.5) / b);
            patch.fNormal = Dot(normal, centreOfRoom - patch.fCentre) > 0.0 ? normal : normal * -1.0;
            patch.fArea = Length(pEdgeA) * Length(pEdgeB) / (a * b);
            const sHit hit = Trace(patch.fCentre + patch.fNormal * 0.01, patch.fNormal * -1.0);
            patch.fAlbedo = hit.fMaterial == eNothing ? sVec{} : Albedo(hit);
            pPatches.push_back(patch);
        }
    }
}

std::vector<sPatch> Patches()
{
    const sVec size = kRoomHigh - kRoomLow;
    const sVec right = {size.x, 0, 0}, up = {0, size.y, 0}, deep = {0, 0, size.z};
    std::vector<sPatch> patches;
    AddSide(patches, kRoomLow, right, deep);
    AddSide(patches, kRoomLow + up, right, deep);
    AddSide(patches, kRoomLow, up, deep);
    AddSide(patches, kRoomLow + right, up, deep);
    AddSide(patches, kRoomLow, right, up);
    AddSide(patches, kRoomLow + deep, right, up);
    return patches;
}

/// Returns the patches with their direct light and three rounds of reflection.
std::vector<sPatch> LitPatches()
{
    constexpr int kSamples = 48;
    constexpr int kRounds = 3;
    std::vector<sPatch> patches = Patches();
    std::vector<sVec> direct;
    cDice dice(7);
    for (sPatch& patch : patches) {
        sVec sum;
        for (int i = 0; i < kSamples; i++) { // spread over the patch, because a sunbeam may hit a part of it
            const double side = std::sqrt(patch.fArea) * 0.98;
            const sVec across = std::fabs(patch.fNormal.y) > 0.5 ? sVec{1, 0, 0} : sVec{0, 1, 0};
            const sVec along = Cross(patch.fNormal, across);
            const sVec point = patch.fCentre + patch.fNormal * 0.01 + across * (side * (dice.Roll() - 0.5)) +
                               along * (side * (dice.Roll() - 0.5));
            sum = sum + Direct(point, patch.fNormal, dice) * (1.0 / kSamples);
        }
        direct.push_back(sum);
        patch.fLight = patch.fAlbedo * sum * (1.0 / kPi);
    }
    for (int round = 0; round < kRounds; round++) {
        std::vector<sPatch> next = patches;
        for (size_t i = 0; i < patches.size(); i++)
            next[i].fLight = patches[i].fAlbedo *
                             (direct[i] + Gather(patches, patches[i].fCentre, patches[i].fNormal)) * (1.0 / kPi);
        patches = next;
    }
    return patches;
}

/// The data that all rows of the picture share.
struct sScene
{
    std::vector<sPatch> fPatches;
    sImage fImage;
};

/// Returns the share of the half sphere that no near thing covers. It darkens corners and the feet of things.
double Openness(sVec pPoint, sVec pNormal, cDice& pDice)
{
    constexpr int kRays = 8;
    int open = 0;
    for (int i = 0; i < kRays; i++) {
        const double z = 2.0 * pDice.Roll() - 1.0, angle = 2.0 * kPi * pDice.Roll();
        const double r = std::sqrt(1.0 - z * z);
        const sVec direction = Unit(pNormal * 1.001 + sVec{r * std::cos(angle), r * std::sin(angle), z});
        if (!Blocked(pPoint, direction, kOcclusionReach)) open++;
    }
    return static_cast<double>(open) / kRays;
}

sVec Diffuse(const sScene& pScene, const sHit& pHit, cDice& pDice)
{
    const sVec point = pHit.fPoint + pHit.fNormal * kLift;
    const sVec gathered = Gather(pScene.fPatches, point, pHit.fNormal) * Openness(point, pHit.fNormal, pDice);
    return Albedo(pHit) * (Direct(point, pHit.fNormal, pDice) + gathered) * (1.0 / kPi);
}

/// Returns the radiance along a ray.
/// @param pMirrors the most reflections to follow
sVec Radiance(const sScene& pScene, sVec pFrom, sVec pDirection, cDice& pDice, int pMirrors)
{
    const sHit hit = Trace(pFrom, pDirection);
    if (hit.fMaterial == eNothing) return LandscapeWithSun(pDirection);
    if (hit.fMaterial == eLamp) return kLampRadiance;
    sVec color = Diffuse(pScene, hit, pDice);
    const double gloss = Gloss(hit.fMaterial);
    if (gloss == 0.0 || pMirrors == 0) return color;
    const double fresnel = gloss + (1.0 - gloss) * std::pow(1.0 + Dot(pDirection, hit.fNormal), 5.0);
    const double rough = hit.fMaterial == eVase ? 0.004 : 0.03;
    const sVec jitter = sVec{pDice.Roll() - 0.5, pDice.Roll() - 0.5, pDice.Roll() - 0.5} * rough;
    const sVec mirrored = Unit(Mirror(pDirection, hit.fNormal) + jitter);
    if (Dot(mirrored, hit.fNormal) <= 0.0) return color;
    sVec seen = Radiance(pScene, hit.fPoint + hit.fNormal * kLift, mirrored, pDice, pMirrors - 1);
    const double limit = 40.0 / std::max({seen.x, seen.y, seen.z, 40.0}); // otherwise a reflected sun is a spark
    return color * (1.0 - fresnel) + seen * (fresnel * limit);
}

sVec Pixel(const sScene& pScene, int pX, int pY)
{
    const sVec forward = Unit(kTarget - kEye), right = Unit(Cross({0, 1, 0}, forward)), up = Cross(forward, right);
    cDice dice(static_cast<uint32_t>(pY * pScene.fImage.fWidth + pX));
    sVec sum;
    for (int i = 0; i < kSubpixels * kSubpixels; i++) {
        const int column = i % kSubpixels, row = i / kSubpixels;
        const double x = pX + (column + dice.Roll()) / kSubpixels, y = pY + (row + dice.Roll()) / kSubpixels;
        const double u = (2.0 * x / pScene.fImage.fWidth - 1.0) * kHalfWidth;
        const double v = (pScene.fImage.fHeight - 2.0 * y) / pScene.fImage.fWidth * kHalfWidth;
        sum = sum + Radiance(pScene, kEye, Unit(forward + right * u + up * v), dice, 1);
    }
    return sum * (1.0 / (kSubpixels * kSubpixels));
}

/// The record of DivideWork for a tile of rows.
struct sRows
{
    TileRecord fHeader;
    sScene* fScene;
};

void* RenderRows(void* pRecord)
{
    sRows rows{};
    std::memcpy(&rows, pRecord, sizeof rows);
    sImage& image = rows.fScene->fImage;
    for (int y = rows.fHeader.fStart; y < rows.fHeader.fEnd; y++) {
        for (int x = 0; x < image.fWidth; x++) {
            const sVec color = Pixel(*rows.fScene, x, y);
            float* const pixel =
                image.fPixels.data() +
                3 * (static_cast<size_t>(y) * static_cast<size_t>(image.fWidth) + static_cast<size_t>(x));
            pixel[0] = static_cast<float>(color.x);
            pixel[1] = static_cast<float>(color.y);
            pixel[2] = static_cast<float>(color.z);
        }
    }
    return nullptr;
}

} // namespace

sImage Render(int pWidth, int pWorkers)
{
    SkyTable(); // computed before the workers start
    sScene scene{LitPatches(), {pWidth, pWidth * 2 / 3, {}}};
    scene.fImage.fPixels.resize(3 * static_cast<size_t>(scene.fImage.fWidth) *
                                static_cast<size_t>(scene.fImage.fHeight));
    sRows rows{{}, &scene};
    DivideWork(0, scene.fImage.fHeight, pWorkers, RenderRows, &rows, sizeof rows);
    return std::move(scene.fImage);
}

} // namespace SelvaneScene
