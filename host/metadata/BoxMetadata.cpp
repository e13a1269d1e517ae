#include "metadata/BoxMetadata.h"

#include <algorithm>
#include <cstring>
#include <jxl/decode.h>
#include <libheif/heif.h>
#include <memory>

namespace SelvaneHost
{

namespace
{

constexpr const char* kDamaged = "its metadata are damaged in part";

/// Returns the TIFF structure of an Exif item: four bytes give its distance from their end.
tBytes WithoutOffset(const tBytes& pItem)
{
    if (pItem.size() < 4) return {};
    const size_t offset = static_cast<size_t>(pItem[0]) << 24 | static_cast<size_t>(pItem[1]) << 16 |
                          static_cast<size_t>(pItem[2]) << 8 | pItem[3];
    if (offset > pItem.size() - 4) return {};
    return {pItem.begin() + static_cast<std::ptrdiff_t>(4 + offset), pItem.end()};
}

// ---- HEIF and AVIF -------------------------------------------------------------------------------------------

using tHeif = std::unique_ptr<heif_context, decltype(&heif_context_free)>;
using tHeifPicture = std::unique_ptr<heif_image_handle, decltype(&heif_image_handle_release)>;

tHeifPicture MainPicture(heif_context* pContext, const tBytes& pFile)
{
    heif_image_handle* handle = nullptr;
    const heif_error read = heif_context_read_from_memory_without_copy(pContext, pFile.data(), pFile.size(), nullptr);
    if (read.code == heif_error_Ok) heif_context_get_primary_image_handle(pContext, &handle);
    return {handle, heif_image_handle_release};
}

std::vector<heif_item_id> Items(const heif_image_handle* pPicture)
{
    std::vector<heif_item_id> items(
        static_cast<size_t>(heif_image_handle_get_number_of_metadata_blocks(pPicture, nullptr)));
    heif_image_handle_get_list_of_metadata_block_IDs(pPicture, nullptr, items.data(), static_cast<int>(items.size()));
    return items;
}

tBytes Item(const heif_image_handle* pPicture, heif_item_id pItem, std::vector<std::string>& pWarnings)
{
    tBytes bytes(std::min(heif_image_handle_get_metadata_size(pPicture, pItem), kMostMetadata + 1));
    if (bytes.empty() || bytes.size() > kMostMetadata) return bytes;
    const heif_error error = heif_image_handle_get_metadata(pPicture, pItem, bytes.data());
    if (error.code == heif_error_Ok) return bytes;
    pWarnings.push_back(std::string(kDamaged) + " (" + error.message + ")");
    return {};
}

void TakeItem(const heif_image_handle* pPicture, heif_item_id pItem, sMetadata& pTo,
              std::vector<std::string>& pWarnings)
{
    const std::string type = heif_image_handle_get_metadata_type(pPicture, pItem);
    const std::string content = heif_image_handle_get_metadata_content_type(pPicture, pItem);
    if (type == "Exif" && pTo.fExif.empty()) pTo.fExif = WithoutOffset(Item(pPicture, pItem, pWarnings));
    if (type == "mime" && content == "application/rdf+xml" && pTo.fXmp.empty())
        pTo.fXmp = Item(pPicture, pItem, pWarnings);
}

// ---- JPEG XL -------------------------------------------------------------------------------------------------

/// Goes through the boxes of a JPEG XL file.
class cJxlBoxes
{
public:
    explicit cJxlBoxes(const tBytes& pFile) : fDecoder(JxlDecoderCreate(nullptr), JxlDecoderDestroy)
    {
        if (!fDecoder) throw std::bad_alloc();
        JxlDecoderSubscribeEvents(fDecoder.get(), JXL_DEC_BOX);
        JxlDecoderSetDecompressBoxes(fDecoder.get(), JXL_TRUE);
        JxlDecoderSetInput(fDecoder.get(), pFile.data(), pFile.size());
    }

    /// The end of the file shows as a wish for more: libjxl prints lines of its own for a file that is said to be
    /// whole.
    /// @return false when the boxes are damaged
    bool TakeAll(sMetadata& pTo)
    {
        for (;;) {
            const JxlDecoderStatus status = JxlDecoderProcessInput(fDecoder.get());
            if (status == JXL_DEC_BOX_NEED_MORE_OUTPUT && Grow()) continue;
            Close();
            if (status != JXL_DEC_BOX) return status == JXL_DEC_SUCCESS || status == JXL_DEC_NEED_MORE_INPUT;
            Open(pTo);
        }
    }

private:
    /// Prepares for the content of the box that begins, if it is wanted.
    void Open(sMetadata& pTo)
    {
        JxlBoxType type{};
        JxlDecoderGetBoxType(fDecoder.get(), type, JXL_TRUE);
        fIsExif = std::memcmp(type, "Exif", 4) == 0;
        const bool isXmp = std::memcmp(type, "xml ", 4) == 0;
        fTarget = fIsExif ? &pTo.fExif : isXmp ? &pTo.fXmp : nullptr;
        if (fTarget == nullptr || !fTarget->empty()) {
            fTarget = nullptr;
            return;
        }
        fTarget->resize(kFirstBytes);
        JxlDecoderSetBoxBuffer(fDecoder.get(), fTarget->data(), fTarget->size());
    }

    /// Lends more memory. Returns false once the box is larger than any block may be.
    bool Grow()
    {
        if (fTarget == nullptr || fTarget->size() > kMostMetadata) return false;
        const size_t used = fTarget->size() - JxlDecoderReleaseBoxBuffer(fDecoder.get());
        fTarget->resize(2 * fTarget->size());
        JxlDecoderSetBoxBuffer(fDecoder.get(), fTarget->data() + used, fTarget->size() - used);
        return true;
    }

    void Close()
    {
        if (fTarget == nullptr) return;
        fTarget->resize(fTarget->size() - JxlDecoderReleaseBoxBuffer(fDecoder.get()));
        if (fIsExif) *fTarget = WithoutOffset(*fTarget);
        fTarget = nullptr;
    }

    static constexpr size_t kFirstBytes = 16384;

    std::unique_ptr<JxlDecoder, decltype(&JxlDecoderDestroy)> fDecoder;
    tBytes* fTarget = nullptr;
    bool fIsExif = false;
};

} // namespace

sMetadata ReadHeifMetadata(const tBytes& pFile, std::vector<std::string>& pWarnings)
{
    const tHeif context(heif_context_alloc(), heif_context_free);
    const tHeifPicture picture = MainPicture(context.get(), pFile);
    if (!picture) return {}; // the reader of the pixels says what is wrong
    sMetadata metadata;
    for (const heif_item_id item : Items(picture.get()))
        TakeItem(picture.get(), item, metadata, pWarnings);
    return metadata;
}

sMetadata ReadJpegXlMetadata(const tBytes& pFile, std::vector<std::string>& pWarnings)
{
    sMetadata metadata;
    if (!cJxlBoxes(pFile).TakeAll(metadata)) pWarnings.emplace_back(kDamaged);
    return metadata;
}

} // namespace SelvaneHost
