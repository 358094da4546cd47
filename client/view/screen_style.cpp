#include "client/view/screen_style.h"

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

ScreenStyle::ScreenStyle(UINT dpi)
    : dpi_(dpi),
      font_(MakeFont(Px(BestFace().height), FW_NORMAL)),
      bold_(MakeFont(Px(BestFace().height), FW_BOLD))
{
}

} // namespace Mardu::Sentel::Tavlo::Client::View
