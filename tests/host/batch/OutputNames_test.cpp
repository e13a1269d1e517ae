#include "batch/OutputNames.h"

#include "host/Workshop.h"

#include <gtest/gtest.h>

using SelvaneHost::cUsageError;
using SelvaneHost::OutputName;
using SelvaneHost::OutputPaths;
using SelvaneTest::Refusal;

TEST(OutputNames, FieldsStandForPartsOfTheInput)
{
    EXPECT_EQ(OutputName("{stem}-tm.{ext}", "a/b.c/photo.one.exr", 0, 1), "photo.one-tm.jpg");
    EXPECT_EQ(OutputName("{stem}.{ext}", "photo.tiff", 0, 1), "photo.tiff");
    EXPECT_EQ(OutputName("{stem}.{ext}", "photo.PNG", 0, 1), "photo.PNG");
    EXPECT_EQ(OutputName("{stem}.{ext}", "noextension", 0, 1), "noextension.jpg");
    EXPECT_EQ(OutputName("{folder}-{stem}", "x/day one/p.hdr", 0, 1), "day one-p");
    EXPECT_EQ(OutputName("{number}", "p.hdr", 6, 100), "007");
    EXPECT_EQ(OutputName("{number}", "p.hdr", 6, 9), "7");
    EXPECT_EQ(OutputName("{{{stem}}}.png", "p.hdr", 0, 1), "{p}.png");
    EXPECT_EQ(OutputName("{stem}.{ext}", "p.png", 0, 1, "avif"), "p.avif");
    EXPECT_EQ(OutputName("plain.png", "p.hdr", 0, 1), "plain.png");
    EXPECT_EQ(OutputName("{stem}.png", "-a b\nc.hdr", 0, 1), "-a b\nc.png");
}

TEST(OutputNames, WhatIsNoTemplateIsRefused)
{
    const auto refusal = [](const std::string& pTemplate) {
        return Refusal([&] { OutputName(pTemplate, "p.hdr", 0, 1); });
    };
    EXPECT_EQ(refusal("{steam}.png"), "--name: {steam} is no field; there are {stem}, {ext}, {folder} and {number}");
    EXPECT_EQ(refusal("{}.png"), "--name: {} is no field; there are {stem}, {ext}, {folder} and {number}");
    for (const char* text : {"{stem.png", "stem}.png", "a}b", "{"})
        EXPECT_EQ(refusal(text), "--name: a brace stands alone; write {{ or }} for a brace of the name") << text;
    EXPECT_EQ(refusal("x/{stem}.png"), "--name: x/p.png has a slash; see --out-dir");
}

TEST(OutputNames, TwoInputsWithOneOutputAreRefused)
{
    EXPECT_EQ(OutputPaths({"a/p.hdr", "a/q.hdr"}, "out", "{stem}.png"),
              (std::vector<std::string>{"out/p.png", "out/q.png"}));
    EXPECT_EQ(Refusal([] {
                  OutputPaths({"a/p.hdr", "b/p.exr"}, "out", "{stem}.png");
              }),
              "out/p.png: a/p.hdr and b/p.exr would both be written there; --name '{number}-{stem}.{ext}' keeps them "
              "apart");
    EXPECT_EQ(OutputPaths({"a/p.hdr", "b/p.exr"}, "out", "{folder}-{stem}.png"),
              (std::vector<std::string>{"out/a-p.png", "out/b-p.png"}));
}
