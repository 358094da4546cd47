// plain_publisher NAME KIND: what a program may enter in the running object table under an
// image's name that tells no process: an image, an image of a descriptor over one page of memory, or an
// object that is none. Ends with the input.
#include "client/command_line/print.h"
#include "client/foundation/com_object.h"
#include "client/foundation/component_errors.h"
#include "client/foundation/handle.h"
#include "client/foundation/utf16.h"
#include "client/images/published_image.h"
#include "client/images/published_name.h"
#include "client/images/shared_image.h"

#include <cstdio>
#include <cwchar>
#include <stdexcept>

using namespace Mardu::Sentel::Tavlo::Client;

namespace {

class NoImage final : public ComObject<IPersist>
{
public:
    STDMETHODIMP GetClassID(CLSID*) override { return E_NOTIMPL; }
};

/// W,H,BITS,ENCODING,OFFSET,SX,SY as numbers, whatever they are.
Descriptor Unchecked(const std::wstring& text)
{
    Descriptor d;
    int encoding = 0;
    if (std::swscanf(text.c_str(), L"%d,%d,%d,%d,%d,%d,%d", &d.width, &d.height, &d.bits, &encoding,
                     &d.offset, &d.strideX, &d.strideY) != 7)
        throw std::runtime_error("no descriptor");
    d.encoding = static_cast<Encoding>(encoding);
    return d;
}

/// An image that says of itself what nobody has checked, over a section of one page.
tavlo::image OverSmallSection(const Descriptor& descriptor)
{
    const std::wstring name = L"tavlo-test-small-" + std::to_wstring(GetCurrentProcessId());
    static const Handle section(
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, name.c_str()));
    return Adopt(name, descriptor, Tavlo_MultipleWriters);
}

void Publish(const std::string& name, const std::wstring& kind)
{
    const auto apartment = EnterApartment(COINIT_MULTITHREADED);
    const auto enter = [&](IUnknown& object) {
        const RunningObject entry(object, ImageItem(name));
        Print("published\n");
        std::getchar();
    };
    if (kind == L"image")
        enter(*Create({4, 3, 8, Encoding::Unsigned, 0, 1, 4}, Tavlo_SingleWriter).get());
    else if (kind.find(L',') != std::wstring::npos)
        enter(*OverSmallSection(Unchecked(kind)).get());
    else
        enter(*tavlo::com_ptr<IUnknown>(new NoImage).get());
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 3)
        return 2;
    try {
        Publish(ToUtf8(arguments[1]), arguments[2]);
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
