#include "client/view/look.h"

#include <algorithm>
#include <array>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

struct Face
{
    const wchar_t* name;
    int height; ///< at 96 dots per inch; faces differ in how large they look
};

constexpr std::array faces = {Face{L"Segoe UI", 15}, Face{L"DejaVu Sans", 12}, Face{L"Liberation Sans", 14},
                              Face{L"Tahoma", 14}};

int CALLBACK OnFace(const LOGFONTW*, const TEXTMETRICW*, DWORD, LPARAM found)
{
    *reinterpret_cast<bool*>(found) = true;
    return 0;
}

bool IsInstalled(const wchar_t* name)
{
    LOGFONTW wanted = {};
    wanted.lfCharSet = DEFAULT_CHARSET;
    lstrcpynW(wanted.lfFaceName, name, LF_FACESIZE);
    bool isFound = false;
    const HDC dc = GetDC(nullptr);
    EnumFontFamiliesExW(dc, &wanted, OnFace, reinterpret_cast<LPARAM>(&isFound), 0);
    ReleaseDC(nullptr, dc);
    return isFound;
}

const Face& BestFace()
{
    static const Face& face = []() -> const Face& {
        const auto* found =
            std::ranges::find_if(faces, [](const Face& one) { return IsInstalled(one.name); });
        return found == faces.end() ? faces.back() : *found;
    }();
    return face;
}

GdiObject MakeFont(int height, int weight)
{
    return GdiObject(CreateFontW(-height, 0, 0, 0, weight, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                                 OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY, DEFAULT_PITCH,
                                 BestFace().name));
}

} // namespace

Look::Look(UINT dpi)
    : dpi_(dpi),
      font_(MakeFont(Px(BestFace().height), FW_NORMAL)),
      bold_(MakeFont(Px(BestFace().height), FW_BOLD))
{
}

void DrawLine(HDC dc, const std::wstring& text, const RECT& place, std::uint32_t color, Align align)
{
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, ColorRef(color));
    RECT area = place;
    const UINT side = align == Align::Left ? DT_LEFT : align == Align::Right ? DT_RIGHT : DT_CENTER;
    DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &area,
              side | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
}

int WidthOf(HDC dc, const std::wstring& text) noexcept
{
    SIZE size = {};
    GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &size);
    return size.cx;
}

void FillBox(HDC dc, const RECT& place, std::uint32_t color) noexcept
{
    SetDCBrushColor(dc, ColorRef(color));
    FillRect(dc, &place, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
}

void FrameBox(HDC dc, const RECT& place, std::uint32_t color) noexcept
{
    SetDCBrushColor(dc, ColorRef(color));
    FrameRect(dc, &place, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
}

} // namespace Mardu::Sentel::Tavlo::Client::View
