#ifndef SELVANE_HOST_BATCH_OUTPUT_NAMES_H
#define SELVANE_HOST_BATCH_OUTPUT_NAMES_H

#include <string>
#include <vector>

namespace SelvaneHost
{

/// The names that outputs get without --name.
inline constexpr const char* kUsualName = "{stem}-tm.{ext}";

/// Makes the name of an output from a template. Its fields are
///
///     {stem}    name of the input without folder and extension
///     {ext}     the kind of the output if it is given, else the extension of the input if such files can be written,
///               else jpg
///     {folder}  name of the input's folder
///     {number}  place of the input on the command line, from 1 on, with as many digits as the last one has
///
/// "{{" and "}}" are braces.
/// @param pIndex place of the input, from 0 on
/// @param pCount number of inputs
/// @param pKind of the output, "png"; empty: not given
/// @throws cUsageError for an unknown field, a brace that stands alone, and a name with a slash
std::string OutputName(const std::string& pTemplate, const std::string& pInput, size_t pIndex, size_t pCount,
                       const std::string& pKind = {});

/// Makes the paths of all outputs.
/// @throws cUsageError as above, and when two inputs would get one output
std::vector<std::string> OutputPaths(const std::vector<std::string>& pInputs, const std::string& pFolder,
                                     const std::string& pTemplate, const std::string& pKind = {});

} // namespace SelvaneHost

#endif
