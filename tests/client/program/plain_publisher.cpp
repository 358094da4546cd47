// plain_publisher NAME KIND: what a program may enter in the running object table under an
// image's name that tells no process: an image, or an object that is none. Ends with the input.
#include "client/command_line/print.h"
#include "client/foundation/com_object.h"
#include "client/foundation/component_errors.h"
#include "client/foundation/utf16.h"
#include "client/images/published_image.h"
#include "client/images/published_name.h"
#include "client/images/shared_image.h"

#include <cstdio>

using namespace Mardu::Sentel::Tavlo::Client;

namespace {

class NoImage final : public ComObject<IPersist>
{
public:
    STDMETHODIMP GetClassID(CLSID*) override { return E_NOTIMPL; }
};

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
