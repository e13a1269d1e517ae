// The word that a mistyped one means.

#include "shell/Nearest.h"

#include <gtest/gtest.h>

namespace
{

using SelvaneHost::Distance;
using SelvaneHost::NearestTo;

TEST(Nearest, DistanceCountsChangedLetters)
{
    EXPECT_EQ(Distance("", ""), 0);
    EXPECT_EQ(Distance("clip", "clip"), 0);
    EXPECT_EQ(Distance("", "clip"), 4);
    EXPECT_EQ(Distance("clip", ""), 4);
    EXPECT_EQ(Distance("clp", "clip"), 1);   // put in
    EXPECT_EQ(Distance("clipp", "clip"), 1); // taken out
    EXPECT_EQ(Distance("clap", "clip"), 1);  // replaced
    EXPECT_EQ(Distance("cilp", "clip"), 1);  // swapped
    EXPECT_EQ(Distance("kitten", "sitting"), 3);
}

TEST(Nearest, TakesTheCandidateWithTheFewestChanges)
{
    EXPECT_EQ(NearestTo("exposre", {"compression", "exposure", "expand"}), "exposure");
    EXPECT_EQ(NearestTo("white-clp", {"black-clip", "white-clip", "white-point"}), "white-clip");
}

TEST(Nearest, ABeginningMeansTheOnlyCandidateThatHasIt)
{
    EXPECT_EQ(NearestTo("sat", {"saturation", "smoothness", "suggest"}), "saturation");
    EXPECT_EQ(NearestTo("s", {"saturation", "quiet"}), ""); // one letter says too little
    EXPECT_EQ(NearestTo("white", {"white-clip", "white-point"}), "");
}

TEST(Nearest, NothingIsNearAWordOfAnotherKind)
{
    EXPECT_EQ(NearestTo("sharpness", {"exposure", "quiet", "wrap"}), "");
    EXPECT_EQ(NearestTo("anything", {}), "");
    EXPECT_EQ(NearestTo("abc", {"abd"}), "abd"); // a third of the letters
    EXPECT_EQ(NearestTo("ab", {"ac"}), "");      // half of them
}

} // namespace
