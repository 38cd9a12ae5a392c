#include "menu/shared_pictures.h"

#include <cstring>

namespace quillet {
namespace {

struct KeptPicture {
    UINT id;
    int variant;
    DibPixels pixels;
};

// Only ever appended to, under the resources' lock; a display scale seen once more finds its
// pixels again. Lives until the module is unloaded.
std::vector<KeptPicture> g_keptPictures;

BITMAPINFO InfoOf(const DibPixels& pixels)
{
    BITMAPINFO info = {};
    info.bmiHeader = pixels.header;
    return info;
}

// Copies the kept pixels of the picture into a new bitmap; false when none are kept.
bool CopyKept(CRITICAL_SECTION& lock, UINT id, int variant, UniqueBitmap& copy)
{
    CriticalSectionScope held(lock);
    for (const KeptPicture& kept : g_keptPictures) {
        if (kept.id == id && kept.variant == variant) {
            copy = CreateDibCopy(kept.pixels);
            return true;
        }
    }
    return false;
}

} // namespace

std::optional<DibPixels> CaptureDibPixels(HBITMAP bitmap)
{
    DIBSECTION dib = {};
    if (!bitmap || GetObjectW(bitmap, sizeof(dib), &dib) != sizeof(dib) || !dib.dsBm.bmBits)
        return std::nullopt;
    // A colour table would not fit the BITMAPINFO that copies are made from.
    if (dib.dsBmih.biBitCount != 32 || dib.dsBmih.biCompression != BI_RGB || dib.dsBmih.biClrUsed != 0 ||
        dib.dsBm.bmWidth <= 0 || dib.dsBm.bmHeight <= 0)
        return std::nullopt;

    DibPixels pixels;
    pixels.header = dib.dsBmih;
    pixels.header.biSize = sizeof(BITMAPINFOHEADER);
    pixels.bits.resize(static_cast<size_t>(dib.dsBm.bmWidth) * 4 * static_cast<size_t>(dib.dsBm.bmHeight));
    // GDI reports no row order for a DIB section, so the rows are read back in the order the
    // header states rather than copied from its memory.
    UniqueMemoryDc dc(CreateCompatibleDC(nullptr));
    BITMAPINFO info = InfoOf(pixels);
    if (!dc || GetDIBits(dc.get(), bitmap, 0, static_cast<UINT>(dib.dsBm.bmHeight), pixels.bits.data(), &info,
                         DIB_RGB_COLORS) != dib.dsBm.bmHeight)
        return std::nullopt;
    return pixels;
}

UniqueBitmap CreateDibCopy(const DibPixels& pixels)
{
    const BITMAPINFO info = InfoOf(pixels);
    void* bits = nullptr;
    UniqueBitmap copy(CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    if (!copy || !bits)
        return UniqueBitmap();
    std::memcpy(bits, pixels.bits.data(), pixels.bits.size());
    return copy;
}

UniqueBitmap SharedPicture(const MenuResources& resources, UINT id, int variant, PictureDecoder decode)
{
    UniqueBitmap bitmap;
    if (CopyKept(resources.lock, id, variant, bitmap))
        return bitmap;
    // Decoded outside the lock: other threads' menus need not wait for GDI+.
    bitmap = decode(resources.module, id, variant);
    try {
        std::optional<DibPixels> pixels = CaptureDibPixels(bitmap.get());
        if (pixels) {
            CriticalSectionScope held(resources.lock);
            bool known = false;
            for (const KeptPicture& kept : g_keptPictures)
                known |= kept.id == id && kept.variant == variant;
            if (!known)
                g_keptPictures.push_back({id, variant, std::move(*pixels)});
        }
    } catch (...) {
        // Out of memory: this handler still has its picture, the next one decodes again.
    }
    return bitmap;
}

} // namespace quillet
