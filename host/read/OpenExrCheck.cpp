#include "read/OpenExrCheck.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <openexr.h>
#include <stdexcept>

namespace SelvaneHost
{

namespace
{

int64_t ReadAt(exr_const_context_t /*pContext*/, void* pFile, void* pTarget, uint64_t pSize, uint64_t pOffset,
               exr_stream_error_func_ptr_t /*pReport*/)
{
    const tBytes& file = *static_cast<const tBytes*>(pFile);
    if (pOffset > file.size()) return -1;
    const uint64_t size = std::min<uint64_t>(pSize, file.size() - pOffset);
    std::memcpy(pTarget, file.data() + pOffset, size);
    return static_cast<int64_t>(size);
}

int64_t SizeOf(exr_const_context_t /*pContext*/, void* pFile)
{
    return static_cast<int64_t>(static_cast<const tBytes*>(pFile)->size());
}

/// The results say it all; without this the library would print.
void SayNothing(exr_const_context_t /*pContext*/, exr_result_t /*pResult*/, const char* /*pWords*/) {}

/// In the place of the step that hands out samples: only their number is asked for.
exr_result_t HandOutNothing(exr_decode_pipeline_t* /*pDecoder*/)
{
    return EXR_ERR_SUCCESS;
}

void Require(exr_result_t pResult)
{
    if (pResult == EXR_ERR_OUT_OF_MEMORY) throw std::bad_alloc();
    if (pResult != EXR_ERR_SUCCESS) throw std::runtime_error(exr_get_default_error_message(pResult));
}

/// Passes through a file's headers by the sizes that the attributes claim.
class cHeaders
{
public:
    explicit cHeaders(const tBytes& pFile) : fFile(pFile) {}

    /// @throws std::runtime_error for an attribute that claims more bytes than the file has left
    void PassThrough()
    {
        do
            PassHeader();
        while (HasSeveralParts() && PeekByte() != 0);
    }

private:
    bool HasSeveralParts() const { return fFile.size() >= kFirstHeader && (fFile[5] & 0x10U) != 0; }

    /// 0, as at the end of the headers, when the file has ended.
    unsigned char PeekByte() const { return fPlace < fFile.size() ? fFile[fPlace] : 0; }

    /// A header ends with an attribute without a name, of which there is nothing more.
    void PassHeader()
    {
        while (PeekByte() != 0) {
            PassText();
            PassText();
            Pass(PassSize());
        }
        Pass(1);
    }

    /// A name or a type, up to its null byte.
    void PassText()
    {
        while (PeekByte() != 0)
            fPlace++;
        Pass(1);
    }

    uint32_t PassSize()
    {
        uint32_t size = 0;
        for (unsigned shift = 0; shift < 32; shift += 8) {
            size |= static_cast<uint32_t>(PeekByte()) << shift;
            Pass(1);
        }
        return size;
    }

    void Pass(uint32_t pBytes)
    {
        if (pBytes > fFile.size() - fPlace) throw std::runtime_error("an attribute is longer than the file");
        fPlace += pBytes;
    }

    static constexpr size_t kFirstHeader = 8; // after the magic number and the version with its flags

    const tBytes& fFile;
    size_t fPlace = std::min(kFirstHeader, fFile.size());
};

/// The chunks of one part, and the room that they are unpacked in.
class cChunks
{
public:
    cChunks(const tBytes& pFile, int pPart) : fPart(pPart)
    {
        exr_context_initializer_t settings = EXR_DEFAULT_CONTEXT_INITIALIZER;
        settings.user_data = const_cast<tBytes*>(&pFile);
        settings.read_fn = ReadAt;
        settings.size_fn = SizeOf;
        settings.error_handler_fn = SayNothing;
        Require(exr_start_read(&fContext, "picture", &settings));
    }

    ~cChunks()
    {
        exr_decoding_destroy(fContext, &fDecoder);
        exr_finish(&fContext);
    }

    cChunks(const cChunks&) = delete;
    cChunks& operator=(const cChunks&) = delete;

    exr_attr_box2i_t Window() const
    {
        exr_attr_box2i_t window{};
        Require(exr_get_data_window(fContext, fPart, &window));
        return window;
    }

    bool AreTiles() const
    {
        exr_storage_t storage{};
        Require(exr_get_storage(fContext, fPart, &storage));
        return storage == EXR_STORAGE_TILED;
    }

    /// Columns and rows of a tile of the full size.
    exr_attr_v2i_t TileSize() const
    {
        exr_attr_v2i_t size{};
        Require(exr_get_tile_sizes(fContext, fPart, 0, 0, &size.x, &size.y));
        return size;
    }

    int32_t RowsPerChunk() const
    {
        int32_t rows = 0;
        Require(exr_get_scanlines_per_chunk(fContext, fPart, &rows));
        return rows;
    }

    void UnpackRows(int pFirst)
    {
        exr_chunk_info_t chunk{};
        Require(exr_read_scanline_chunk_info(fContext, fPart, pFirst, &chunk));
        Unpack(chunk);
    }

    void UnpackTile(int pColumn, int pRow)
    {
        exr_chunk_info_t chunk{};
        Require(exr_read_tile_chunk_info(fContext, fPart, pColumn, pRow, 0, 0, &chunk));
        Unpack(chunk);
    }

private:
    // Bytes that are stored as they are take no unpacking, which would count them. Of the results of unpacking, lack of
    // memory is also the answer to too few bytes.
    void Unpack(const exr_chunk_info_t& pChunk)
    {
        if (fDecoder.context == nullptr)
            Prepare(pChunk);
        else
            Require(exr_decoding_update(fContext, fPart, &pChunk, &fDecoder));
        const bool stored = pChunk.compression == EXR_COMPRESSION_NONE;
        const exr_result_t result = exr_decoding_run(fContext, fPart, &fDecoder);
        if ((stored && pChunk.packed_size != pChunk.unpacked_size) ||
            (result != EXR_ERR_SUCCESS && result != EXR_ERR_FEATURE_NOT_IMPLEMENTED))
            throw std::runtime_error("a block of rows does not unpack to its size");
    }

    void Prepare(const exr_chunk_info_t& pFirst)
    {
        Require(exr_decoding_initialize(fContext, fPart, &pFirst, &fDecoder));
        Require(exr_decoding_choose_default_routines(fContext, fPart, &fDecoder));
        fDecoder.unpack_and_convert_fn = HandOutNothing;
    }

    const int fPart;
    exr_context_t fContext = nullptr;
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

void CheckOpenExrHeaders(const tBytes& pFile)
{
    cHeaders(pFile).PassThrough();
    const cChunks chunks(pFile, 0);
}

void CheckOpenExrChunks(const tBytes& pFile, int pPart)
{
    cChunks chunks(pFile, pPart);
    if (chunks.AreTiles())
        CheckTiles(chunks);
    else
        CheckRows(chunks);
}

} // namespace SelvaneHost
