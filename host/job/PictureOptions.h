#ifndef SELVANE_HOST_JOB_PICTURE_OPTIONS_H
#define SELVANE_HOST_JOB_PICTURE_OPTIONS_H

// Options that several subcommands share. Values outside of their range are refused by the parser.

#include "job/Job.h"

#include <CLI/CLI.hpp>

namespace SelvaneHost
{

/// The file to read.
void AddInput(CLI::App& pCommand, std::string& pInput);

/// How the result looks, without the sliders: presets, files of settings, exposure, contrast, saturation, points.
void AddLook(CLI::App& pCommand, sLook& pLook);

/// The sliders, wrap and the number of threads.
void AddSliders(CLI::App& pCommand, sJob& pJob);

void AddThreads(CLI::App& pCommand, int& pThreads);
void AddCrop(CLI::App& pCommand, std::optional<sArea>& pCrop);
void AddColorSpace(CLI::App& pCommand, std::optional<int>& pSpace);
void AddInputSpace(CLI::App& pCommand, std::optional<eInputSpace>& pSpace);
void AddLayer(CLI::App& pCommand, std::string& pLayer);

/// What a file may take to decode. It holds for the whole process.
void AddLimits(CLI::App& pCommand);

} // namespace SelvaneHost

#endif
