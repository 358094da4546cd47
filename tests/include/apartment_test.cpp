#include "tests/include/wrapper_test.h"

#include <thread>

TEST(WrapperApartment, MakesTheComponentUsableOnAThreadAndEndsWithIt)
{
    HRESULT inside = E_FAIL;
    HRESULT kind = E_FAIL;
    HRESULT outside = S_OK;
    std::thread([&] {
        APTTYPE type = APTTYPE_CURRENT;
        APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
        {
            const tavlo::apartment apartment(COINIT_APARTMENTTHREADED);
            inside = CoGetApartmentType(&type, &qualifier);
            kind = type == APTTYPE_STA || type == APTTYPE_MAINSTA ? S_OK : S_FALSE;
        }
        {
            // Possible only when the single-threaded one has been left.
            const tavlo::apartment apartment;
            outside = CoGetApartmentType(&type, &qualifier) == S_OK && type == APTTYPE_MTA ? S_OK : S_FALSE;
        }
    }).join();
    EXPECT_HR(S_OK, inside);
    EXPECT_HR(S_OK, kind);
    EXPECT_HR(S_OK, outside);
}

TEST(WrapperApartment, RefusesAThreadOfTheOtherKind)
{
    HRESULT refused = S_OK;
    std::thread([&] {
        const tavlo::apartment apartment;
        refused = ErrorOf([] { const tavlo::apartment other(COINIT_APARTMENTTHREADED); }).code();
    }).join();
    EXPECT_HR(RPC_E_CHANGED_MODE, refused);
}
