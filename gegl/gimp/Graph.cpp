#include "Graph.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <vector>

namespace SelvaneGegl
{

namespace
{

constexpr const char* kOperation = "selvane:tone-map";

constexpr const char* kCancelKey = "selvane-cancel"; // the operation looks for it on its node

void TellShare(GeglNode* pNode, double pShare, void* pProgress)
{
    if (!(*static_cast<const std::function<bool(double)>*>(pProgress))(pShare))
        g_object_set_data(G_OBJECT(pNode), kCancelKey, pNode);
}

/// Parses the settings into nodes between two others.
void Chain(const std::string& pSettings, GeglNode* pStart, GeglNode* pEnd)
{
    GError* error = nullptr;
    gegl_create_chain((std::string(kOperation) + " " + pSettings).c_str(), pStart, pEnd, 0.0, 0, "/", &error);
    if (error == nullptr) return;
    const std::string text = error->message;
    g_error_free(error);
    throw std::runtime_error(text);
}

} // namespace

cGraph::cGraph(GeglBuffer* pInput, const std::string& pSettings) : fRoot(gegl_node_new())
{
    if (gegl_has_operation(kOperation) == 0)
        throw std::runtime_error(std::string("GEGL does not find the operation ") + kOperation +
                                 ": its module belongs into ~/.local/share/gegl-0.4/plug-ins");
    GeglNode* const source =
        gegl_node_new_child(fRoot.get(), "operation", "gegl:buffer-source", "buffer", pInput, nullptr);
    GeglNode* const end = gegl_node_new_child(fRoot.get(), "operation", "gegl:nop", nullptr);
    Chain(pSettings, source, end);
    fToneMap = gegl_node_get_producer(end, "input", nullptr);
    if (fToneMap == nullptr || gegl_node_get_producer(fToneMap, "input", nullptr) != source)
        throw std::runtime_error("the settings name another operation");
}

GObject* cGraph::Operation() const
{
    return G_OBJECT(gegl_node_get_gegl_operation(fToneMap));
}

std::string cGraph::Settings() const
{
    GeglNode* const source = gegl_node_get_producer(fToneMap, "input", nullptr); // GEGL begins behind it
    char* const chain = gegl_serialize(source, fToneMap, "/", GEGL_SERIALIZE_TRIM_DEFAULTS);
    const std::string text = chain;
    g_free(chain);
    const size_t name = text.find(kOperation);
    return name == std::string::npos ? std::string() : text.substr(name + std::string(kOperation).size());
}

bool cGraph::Render(GeglBuffer* pOutput, const std::function<bool(double)>& pProgress) const
{
    GeglNode* const sink =
        gegl_node_new_child(fRoot.get(), "operation", "gegl:write-buffer", "buffer", pOutput, nullptr);
    gegl_node_link(fToneMap, sink);
    std::function<bool(double)> progress = pProgress ? pProgress : [](double) { return true; };
    const gulong handler = g_signal_connect(fToneMap, "progress", G_CALLBACK(TellShare), &progress);
    gegl_node_process(sink);
    g_signal_handler_disconnect(fToneMap, handler);
    gegl_node_remove_child(fRoot.get(), sink);
    return g_object_steal_data(G_OBJECT(fToneMap), kCancelKey) == nullptr;
}

tBuffer Reduced(GeglBuffer* pBuffer, int pLongest)
{
    const GeglRectangle* const full = gegl_buffer_get_extent(pBuffer);
    const double scale = std::min(1.0, static_cast<double>(pLongest) / std::max(full->width, full->height));
    const auto reduced = [scale](int pSide) { return std::max(1, static_cast<int>(std::floor(pSide * scale))); };
    const GeglRectangle part{static_cast<int>(full->x * scale), static_cast<int>(full->y * scale), reduced(full->width),
                             reduced(full->height)};
    const Babl* const format = gegl_buffer_get_format(pBuffer);
    std::vector<char> pixels(static_cast<size_t>(part.width) * static_cast<size_t>(part.height) *
                             static_cast<size_t>(babl_format_get_bytes_per_pixel(format)));
    gegl_buffer_get(pBuffer, &part, scale, format, pixels.data(), GEGL_AUTO_ROWSTRIDE, GEGL_ABYSS_CLAMP);
    tBuffer copy(gegl_buffer_new(&part, format));
    gegl_buffer_set(copy.get(), &part, 0, format, pixels.data(), GEGL_AUTO_ROWSTRIDE);
    return copy;
}

} // namespace SelvaneGegl
