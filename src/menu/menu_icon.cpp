// The command's pictures: the PNG scaled for the display, or the fixed-size bitmaps.
#include "menu/menu_icon.h"

#include <objidl.h>
#include <wrl/client.h>

#include <cstring>

#include "menu/shared_pictures.h"
#include "platform/display_metrics.h"
#include "platform/gdiplus.h"
#include "platform/os_version.h"
#include "resources/resource_ids.h"

namespace quillet {
namespace {

// The PNG is drawn for 240 DPI, that is 250 percent.
constexpr int kPngBasePercent = 240 * 100 / 96;

constexpr UINT kBitmapLoadFlags = LR_CREATEDIBSECTION | LR_VGACOLOR;

UniqueBitmap LoadBitmapResource(HINSTANCE module, UINT id, int)
{
    return UniqueBitmap(
        static_cast<HBITMAP>(LoadImageW(module, MAKEINTRESOURCEW(id), IMAGE_BITMAP, 0, 0, kBitmapLoadFlags)));
}

// The display percent the PNG is wanted at, or 0 when the fixed-size bitmap serves instead.
int PngIconPercent(UINT id)
{
    if (id == 0 || IsWindowsXP())
        return 0;
    DisplayScale scale;
    MeasureDisplayScale(scale, true);
    return scale.scaled ? scale.percent : 0;
}

UniqueBitmap DecodePngIcon(HINSTANCE module, UINT id, int percent)
{
    HRSRC info = FindResourceW(module, MAKEINTRESOURCEW(id), L"PNG");
    if (!info)
        return UniqueBitmap();
    const DWORD size = SizeofResource(module, info);
    HGLOBAL resource = LoadResource(module, info);
    const void* bytes = resource ? LockResource(resource) : nullptr;
    if (!bytes || size == 0)
        return UniqueBitmap();

    // The block and the stream outlive the GDI+ bitmap, which may read from them lazily.
    UniqueGlobal block(GlobalAlloc(GMEM_MOVEABLE, size));
    if (!block)
        return UniqueBitmap();
    GlobalLockScope<BYTE> locked(block.get());
    if (!locked.get())
        return UniqueBitmap();
    std::memcpy(locked.get(), bytes, size);
    Microsoft::WRL::ComPtr<IStream> stream;
    if (FAILED(CreateStreamOnHGlobal(block.get(), FALSE, stream.GetAddressOf())))
        return UniqueBitmap();

    Gdiplus::Bitmap source(stream.Get());
    if (source.GetLastStatus() != Gdiplus::Ok)
        return UniqueBitmap();
    int width = static_cast<int>(source.GetWidth());
    int height = static_cast<int>(source.GetHeight());
    if (percent != kPngBasePercent) {
        width = MulDiv(width, percent, kPngBasePercent);
        height = MulDiv(height, percent, kPngBasePercent);
    }

    Gdiplus::Bitmap scaled(width, height, source.GetPixelFormat());
    if (scaled.GetLastStatus() != Gdiplus::Ok)
        return UniqueBitmap();
    {
        Gdiplus::Graphics graphics(&scaled);
        graphics.SetPixelOffsetMode(Gdiplus::PixelOffsetModeHighQuality);
        graphics.SetSmoothingMode(Gdiplus::SmoothingModeAntiAlias);
        graphics.SetInterpolationMode(Gdiplus::InterpolationModeHighQualityBicubic);
        graphics.DrawImage(&source, 0, 0, width, height);
    }
    // Transparent black behind the picture keeps its alpha in the 32-bit bitmap.
    UniqueBitmap bitmap;
    if (scaled.GetHBITMAP(Gdiplus::Color(0, 0, 0, 0), bitmap.put()) != Gdiplus::Ok)
        return UniqueBitmap();
    return bitmap;
}

} // namespace

UniqueBitmap LoadPngMenuIcon(HINSTANCE module, UINT id)
{
    const int percent = PngIconPercent(id);
    return percent ? DecodePngIcon(module, id, percent) : UniqueBitmap();
}

void LoadMenuIcon(MenuPresentation& menu, const MenuResources& resources)
{
    if (menu.m_hbmpMenuIcon)
        return;
    // The display scale is measured at every load; only the pictures made for it are shared.
    if (const int percent = PngIconPercent(IDP_MENU_ICON))
        menu.m_hbmpMenuIcon = SharedPicture(resources, IDP_MENU_ICON, percent, &DecodePngIcon);
    if (!menu.m_hbmpMenuIcon)
        menu.m_hbmpMenuIcon = SharedPicture(resources, IDB_MENU_ICON, 0, &LoadBitmapResource);
}

void LoadMenuCheckBitmap(MenuPresentation& menu, const MenuResources& resources)
{
    if (!menu.m_hbmpMenuCheck)
        menu.m_hbmpMenuCheck = SharedPicture(resources, IDB_MENU_CHECK, 0, &LoadBitmapResource);
}

} // namespace quillet
