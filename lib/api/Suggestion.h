#ifndef SELVANE_LIB_API_SUGGESTION_H
#define SELVANE_LIB_API_SUGGESTION_H

// The suggestion of a handle's picture, and the settings that follow from it.

#include "api/Handle.h"

namespace SelvaneLib
{

/// Expected time of a suggestion and of a preview's reduction, in the unit of cRun::Begin.
constexpr double kSuggestWeight = 2.0;
constexpr double kReduceWeight = 0.5;

constexpr int kSuggestionSize = 512; ///< pixels of the longer side of the picture that the suggestion looks at

/// The handle's picture. @throws cFailure without one
sKept& PictureOf(selvane& pHandle);

/// The reduced picture of a size, made at the first call.
sKept& PreviewOf(selvane& pHandle, int pLongest, cRun& pRun);

/// The settings that suit the picture, with automatic 0. Looks at the picture at the first call.
selvane_settings SuggestedSettings(selvane& pHandle, cRun& pRun);

/// The settings that a render uses, with automatic 0.
selvane_settings EffectiveSettings(selvane& pHandle, cRun& pRun);

/// Keeps the times of a call that is done, for the report.
void KeepTimes(selvane& pHandle, cRun& pRun);

/// Refuses if the handle would hold more bytes than its limit. @param pMore bytes beyond what it holds
void CheckLimit(const selvane& pHandle, int64_t pMore);

int64_t SumOf(const tStageBytes& pBytes);

/// Bytes of the large picture with its results.
/// @param pAlphaBytes of a sample of alpha; 0 without alpha
tStageBytes LargeBytes(int pWidth, int pHeight, int pAlphaBytes);

/// Bytes of a preview with its results.
tStageBytes PreviewBytes(int pWidth, int pHeight, bool pHasAlpha);

/// Bytes that the handle holds or will hold for the pictures that it has.
tStageBytes HeldBytes(const selvane& pHandle);

} // namespace SelvaneLib

#endif
