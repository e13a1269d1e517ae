#include "batch/OutputNames.h"

#include "picture/Errors.h"
#include "write/FileKind.h"

#include <filesystem>
#include <map>

namespace SelvaneHost
{

namespace
{

namespace fs = std::filesystem;

std::string ExtensionOf(const fs::path& pInput)
{
    const std::string extension = pInput.extension().string();
    try {
        KindFor(pInput.filename().string());
    } catch (const cUsageError&) {
        return "jpg";
    }
    return extension.substr(1); // the dot
}

std::string FolderOf(const fs::path& pInput)
{
    return fs::weakly_canonical(pInput).parent_path().filename().string();
}

/// The number with leading zeros.
std::string NumberOf(size_t pIndex, size_t pCount)
{
    const std::string number = std::to_string(pIndex + 1);
    const size_t digits = std::to_string(pCount).size();
    return std::string(digits - number.size(), '0') + number;
}

std::string FieldOf(const std::string& pField, const std::string& pInput, size_t pIndex, size_t pCount,
                    const std::string& pKind)
{
    const fs::path input(pInput);
    if (pField == "stem") return input.stem().string();
    if (pField == "ext") return pKind.empty() ? ExtensionOf(input) : pKind;
    if (pField == "folder") return FolderOf(input);
    if (pField == "number") return NumberOf(pIndex, pCount);
    throw cUsageError("--name: {" + pField + "} is no field; there are {stem}, {ext}, {folder} and {number}");
}

} // namespace

std::string OutputName(const std::string& pTemplate, const std::string& pInput, size_t pIndex, size_t pCount,
                       const std::string& pKind)
{
    std::string name;
    for (size_t at = 0; at < pTemplate.size(); at++) {
        const char letter = pTemplate[at];
        const bool isBrace = letter == '{' || letter == '}';
        if (!isBrace || pTemplate.substr(at, 2) == std::string(2, letter)) {
            name += letter;
            at += isBrace ? 1 : 0;
            continue;
        }
        const size_t end = pTemplate.find('}', at);
        if (letter == '}' || end == std::string::npos)
            throw cUsageError("--name: a brace stands alone; write {{ or }} for a brace of the name");
        name += FieldOf(pTemplate.substr(at + 1, end - at - 1), pInput, pIndex, pCount, pKind);
        at = end;
    }
    if (name.find('/') != std::string::npos) throw cUsageError("--name: " + name + " has a slash; see --out-dir");
    return name;
}

std::vector<std::string> OutputPaths(const std::vector<std::string>& pInputs, const std::string& pFolder,
                                     const std::string& pTemplate, const std::string& pKind)
{
    std::vector<std::string> paths;
    std::map<std::string, std::string> owners;
    for (size_t i = 0; i < pInputs.size(); i++) {
        const std::string name = OutputName(pTemplate, pInputs[i], i, pInputs.size(), pKind);
        const std::string path = (fs::path(pFolder) / name).string();
        const auto [owner, isNew] = owners.emplace(path, pInputs[i]);
        if (!isNew)
            throw cUsageError(path + ": " + owner->second + " and " + pInputs[i] +
                              " would both be written there; --name '{number}-{stem}.{ext}' keeps them apart");
        paths.push_back(path);
    }
    return paths;
}

} // namespace SelvaneHost
