#include "client/view/bitmap.h"

#include "client/foundation/failure.h"

#include <algorithm>

namespace Mardu::Sentel::Tavlo::Client::View {

Bitmap::Bitmap(const Size& size) : size_{std::max(size.width, 1), std::max(size.height, 1)}
{
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = size_.width;
    info.bmiHeader.biHeight = -size_.height; // the first row is the top one
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    void* pixels = nullptr;
    bitmap_.reset(CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &pixels, nullptr, 0));
    if (!bitmap_)
        ThrowError(ERROR_NOT_ENOUGH_MEMORY, "make room for the picture");
    pixels_ = static_cast<std::uint32_t*>(pixels);
    dc_ = CreateCompatibleDC(nullptr);
    if (dc_ == nullptr)
        ThrowError(ERROR_NOT_ENOUGH_MEMORY, "make room for the picture");
    before_ = SelectObject(dc_, bitmap_.get());
}

Bitmap::~Bitmap()
{
    SelectObject(dc_, before_);
    DeleteDC(dc_);
}

void Bitmap::CopyTo(HDC target, const RECT& part) const noexcept
{
    BitBlt(target, part.left, part.top, part.right - part.left, part.bottom - part.top, dc_, part.left,
           part.top, SRCCOPY);
}

} // namespace Mardu::Sentel::Tavlo::Client::View
