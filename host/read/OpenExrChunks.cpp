#include "read/OpenExrChunks.h"

#include "read/OpenExrCore.h"

#include <stdexcept>

namespace SelvaneHost
{

namespace
{

/// Replaces the step that hands out the samples. Unpacking counts the bytes, and no sample is needed.
exr_result_t HandOutNothing(exr_decode_pipeline_t* /*pDecoder*/)
{
    return EXR_ERR_SUCCESS;
}

/// The chunks of one part, and the decoder that unpacks them.
class cChunks
{
public:
    cChunks(const tBytes& pFile, int pPart) : fFile(pFile), fPart(pPart) {}
    ~cChunks() { exr_decoding_destroy(Context(), &fDecoder); }
    cChunks(const cChunks&) = delete;
    cChunks& operator=(const cChunks&) = delete;

    exr_attr_box2i_t Window() const
    {
        exr_attr_box2i_t window{};
        RequireExr(exr_get_data_window(Context(), fPart, &window));
        return window;
    }

    bool AreTiles() const
    {
        exr_storage_t storage{};
        RequireExr(exr_get_storage(Context(), fPart, &storage));
        return storage == EXR_STORAGE_TILED;
    }

    /// Returns columns and rows of a tile at full size.
    exr_attr_v2i_t TileSize() const
    {
        exr_attr_v2i_t size{};
        RequireExr(exr_get_tile_sizes(Context(), fPart, 0, 0, &size.x, &size.y));
        return size;
    }

    int32_t RowsPerChunk() const
    {
        int32_t rows = 0;
        RequireExr(exr_get_scanlines_per_chunk(Context(), fPart, &rows));
        return rows;
    }

    void UnpackRows(int pFirst)
    {
        exr_chunk_info_t chunk{};
        RequireExr(exr_read_scanline_chunk_info(Context(), fPart, pFirst, &chunk));
        Unpack(chunk);
    }

    void UnpackTile(int pColumn, int pRow)
    {
        exr_chunk_info_t chunk{};
        RequireExr(exr_read_tile_chunk_info(Context(), fPart, pColumn, pRow, 0, 0, &chunk));
        Unpack(chunk);
    }

private:
    exr_context_t Context() const { return fFile.Context(); }

    /// Unpacks a chunk. The library does not unpack a stored chunk, so its bytes are compared here. Any other failure
    /// counts as too few bytes: the library reports those as a lack of memory, among others.
    void Unpack(const exr_chunk_info_t& pChunk)
    {
        if (fDecoder.context == nullptr)
            Prepare(pChunk);
        else
            RequireExr(exr_decoding_update(Context(), fPart, &pChunk, &fDecoder));
        const bool stored = pChunk.compression == EXR_COMPRESSION_NONE;
        const exr_result_t result = exr_decoding_run(Context(), fPart, &fDecoder);
        if ((stored && pChunk.packed_size != pChunk.unpacked_size) ||
            (result != EXR_ERR_SUCCESS && result != EXR_ERR_FEATURE_NOT_IMPLEMENTED))
            throw std::runtime_error("a block of rows does not unpack to its size");
    }

    void Prepare(const exr_chunk_info_t& pFirst)
    {
        RequireExr(exr_decoding_initialize(Context(), fPart, &pFirst, &fDecoder));
        RequireExr(exr_decoding_choose_default_routines(Context(), fPart, &fDecoder));
        fDecoder.unpack_and_convert_fn = HandOutNothing;
    }

    const cOpenExrCore fFile;
    const int fPart;
    exr_decode_pipeline_t fDecoder{};
};

void CheckTiles(cChunks& pChunks)
{
    const exr_attr_box2i_t window = pChunks.Window();
    const exr_attr_v2i_t size = pChunks.TileSize();
    for (int row = 0; row <= (int64_t{window.max.y} - window.min.y) / size.y; row++) {
        for (int column = 0; column <= (int64_t{window.max.x} - window.min.x) / size.x; column++)
            pChunks.UnpackTile(column, row);
    }
}

void CheckRows(cChunks& pChunks)
{
    const exr_attr_box2i_t window = pChunks.Window();
    const int32_t rows = pChunks.RowsPerChunk();
    for (int64_t first = window.min.y; first <= window.max.y; first += rows)
        pChunks.UnpackRows(static_cast<int>(first));
}

} // namespace

void CheckOpenExrChunks(const tBytes& pFile, int pPart)
{
    cChunks chunks(pFile, pPart);
    if (chunks.AreTiles())
        CheckTiles(chunks);
    else
        CheckRows(chunks);
}

} // namespace SelvaneHost
