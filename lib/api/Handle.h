#ifndef SELVANE_LIB_API_HANDLE_H
#define SELVANE_LIB_API_HANDLE_H

// What stands behind a handle.

#include "api/ErrorText.h"
#include "picture/Picture.h"
#include "pool/Pool.h"
#include "pool/Run.h"
#include "render/KeptRender.h"
#include "selvane.h"
#include "suggest/Suggest.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace SelvaneLib
{

/// A picture with its results. Previews have their own.
struct sKept
{
    /// @param pSampled of a preview: has the points of the large picture; null: pPicture is the large one
    explicit sKept(std::unique_ptr<cPicture> pPicture, std::unique_ptr<cPicture> pSampled = nullptr)
        : fPicture(std::move(pPicture)), fSampled(std::move(pSampled)),
          fCounting(fSampled == nullptr ? nullptr : std::make_unique<cKeptRender>(*fSampled)),
          fRender(*fPicture, fCounting.get())
    {
    }

    std::unique_ptr<cPicture> fPicture;
    std::unique_ptr<cPicture> fSampled;
    std::unique_ptr<cKeptRender> fCounting; ///< render of fSampled, as far as its points
    cKeptRender fRender;
};

struct sPreview
{
    int fLongest;
    std::unique_ptr<sKept> fKept;
};

constexpr size_t kMostPreviews = 3; // kept; the oldest goes first

} // namespace SelvaneLib

struct selvane
{
    selvane();

    mutable SelvaneLib::cErrorText fError;
    SelvaneLib::cPoolUser fPoolUser;
    SelvaneLib::sCallbacks fCallbacks;
    uint64_t fLimit = 0; ///< bytes; 0: none
    selvane_settings fSettings;
    std::unique_ptr<SelvaneLib::sKept> fFull; ///< null before the first picture
    std::vector<SelvaneLib::sPreview> fPreviews;
    std::optional<SelvaneLib::sSuggestion> fSuggestion;
    int fSuggestionPreviews = 0;
    selvane_report fLatest{}; ///< what the latest render saw: layers, points, clipped shares; the rest is 0
    double fMilliseconds[SELVANE_STAGES] = {};
};

#endif
