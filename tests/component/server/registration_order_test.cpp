// What registration does in which order, with a stand-in for the platform's registrar, and the
// entry points before and after the module's start.
#include "module/error.h"
#include "server/tavlo_module.h"
#include "tests/component/replaced_import.h"
#include "tests/component/stand_in.h"
#include "tests/component/steps.h"

#include "TavloLib.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>
#include <utility>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

/// The registrar's interface in its slots.
struct PlatformRegistrar : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE AddReplacement(LPCOLESTR key, LPCOLESTR item) = 0;
    virtual HRESULT STDMETHODCALLTYPE ClearReplacements() = 0;
    virtual HRESULT STDMETHODCALLTYPE ResourceRegisterSz(LPCOLESTR, LPCOLESTR, LPCOLESTR) = 0;
    virtual HRESULT STDMETHODCALLTYPE ResourceUnregisterSz(LPCOLESTR, LPCOLESTR, LPCOLESTR) = 0;
    virtual HRESULT STDMETHODCALLTYPE FileRegister(LPCOLESTR) = 0;
    virtual HRESULT STDMETHODCALLTYPE FileUnregister(LPCOLESTR) = 0;
    virtual HRESULT STDMETHODCALLTYPE StringRegister(LPCOLESTR) = 0;
    virtual HRESULT STDMETHODCALLTYPE StringUnregister(LPCOLESTR) = 0;
    virtual HRESULT STDMETHODCALLTYPE ResourceRegister(LPCOLESTR, UINT id, LPCOLESTR type) = 0;
    virtual HRESULT STDMETHODCALLTYPE ResourceUnregister(LPCOLESTR, UINT id, LPCOLESTR type) = 0;
};

std::string InAscii(const std::wstring& text)
{
    std::string ascii;
    for (const wchar_t c : text)
        ascii.push_back(static_cast<char>(c));
    return ascii;
}

/// Notes the scripts that are run, and fails at one of them.
class NotingRegistrar final : public PlatformRegistrar
{
public:
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP AddReplacement(LPCOLESTR key, LPCOLESTR item) override
    {
        if (std::wstring(key) == L"APPID")
            NoteStep("APPID " + InAscii(item));
        return S_OK;
    }
    STDMETHODIMP ClearReplacements() override { return E_NOTIMPL; }
    STDMETHODIMP ResourceRegisterSz(LPCOLESTR, LPCOLESTR, LPCOLESTR) override { return E_NOTIMPL; }
    STDMETHODIMP ResourceUnregisterSz(LPCOLESTR, LPCOLESTR, LPCOLESTR) override { return E_NOTIMPL; }
    STDMETHODIMP FileRegister(LPCOLESTR) override { return E_NOTIMPL; }
    STDMETHODIMP FileUnregister(LPCOLESTR) override { return E_NOTIMPL; }
    STDMETHODIMP StringRegister(LPCOLESTR) override { return E_NOTIMPL; }
    STDMETHODIMP StringUnregister(LPCOLESTR) override { return E_NOTIMPL; }
    STDMETHODIMP ResourceRegister(LPCOLESTR, UINT id, LPCOLESTR type) override { return Run("", id, type); }
    STDMETHODIMP ResourceUnregister(LPCOLESTR, UINT id, LPCOLESTR type) override
    {
        return Run("un", id, type);
    }

    UINT failing = 0;

private:
    HRESULT Run(const std::string& way, UINT id, LPCOLESTR type) const
    {
        NoteStep(way + InAscii(type) + " " + std::to_string(id));
        return id == failing ? E_ABORT : S_OK;
    }
};

NotingRegistrar notingRegistrar;

/// A type library that has an identity only.
class IdentityLibrary final : public StandIn<ITypeLib>
{
public:
    STDMETHODIMP_(UINT) GetTypeInfoCount() override { return 0; }
    STDMETHODIMP GetTypeInfo(UINT, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfoType(UINT, TYPEKIND*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfoOfGuid(REFGUID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetLibAttr(TLIBATTR** attributes) override
    {
        static TLIBATTR identity = {};
        *attributes = &identity;
        return S_OK;
    }
    STDMETHODIMP GetTypeComp(ITypeComp**) override { return E_NOTIMPL; }
    STDMETHODIMP GetDocumentation(INT, BSTR*, BSTR*, DWORD*, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP IsName(LPOLESTR, ULONG, BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP FindName(LPOLESTR, ULONG, ITypeInfo**, MEMBERID*, USHORT*) override { return E_NOTIMPL; }
    STDMETHODIMP_(void) ReleaseTLibAttr(TLIBATTR*) override {}
};

HRESULT hookResult = S_OK;

/// A module that was started, with stand-ins for all that registration calls.
class RegistrationOrder : public testing::Test
{
protected:
    RegistrationOrder()
    {
        setLocale_ = settingLocale_.Original();
        hooksBefore_ = CTavloModule::SetPerformanceHooks(
            {[] { return NoteStep("hook"), hookResult; }, [] { return NoteStep("unhook"), hookResult; }});
        CTavloModule::Initialise();
        hookResult = S_OK;
        notingRegistrar.failing = 0;
        TakeSteps();
    }

    ~RegistrationOrder() override
    {
        CTavloModule::Terminate();
        CTavloModule::SetPerformanceHooks(hooksBefore_);
        TakeSteps();
    }

    using Steps = std::vector<std::string>;

    RegistrationHooks hooksBefore_;
    const std::string itsLocale_ = "locale " + std::to_string(GetThreadLocale());

private:
    static inline decltype(&SetThreadLocale) setLocale_ = nullptr;

    ReplacedImport<decltype(SetThreadLocale)> settingLocale_{"SetThreadLocale", [](LCID locale) -> BOOL {
                                                                 NoteStep("locale " + std::to_string(locale));
                                                                 return setLocale_(locale);
                                                             }};
    ReplacedImport<decltype(CoCreateInstance)> creating_{
        "CoCreateInstance", [](REFCLSID, LPUNKNOWN, DWORD, REFIID, LPVOID* result) -> HRESULT {
            *result = &notingRegistrar;
            return S_OK;
        }};
    ReplacedImport<decltype(LoadTypeLibEx)> loading_{"LoadTypeLibEx",
                                                     [](LPCOLESTR, REGKIND, ITypeLib** library) -> HRESULT {
                                                         *library = NewStandIn<IdentityLibrary>().Detach();
                                                         return S_OK;
                                                     }};
    ReplacedImport<decltype(RegisterTypeLib)> registering_{"RegisterTypeLib",
                                                           [](ITypeLib*, OLECHAR*, OLECHAR*) -> HRESULT {
                                                               NoteStep("TYPELIB");
                                                               return S_OK;
                                                           }};
    ReplacedImport<decltype(UnRegisterTypeLib)> unregistering_{
        "UnRegisterTypeLib", [](REFGUID, WORD, WORD, LCID, SYSKIND) -> HRESULT {
            NoteStep("unTYPELIB");
            return S_OK;
        }};
};

const std::string fixedAppId = "APPID {586812E9-A4CD-4CC7-BCB4-FB26B4A11230}";
const std::string systemLocale = "locale 2048";

IClassFactory* FactoryFrom(REFCLSID clsid)
{
    void* factory = nullptr;
    EXPECT_EQ(DllGetClassObject(clsid, IID_IClassFactory, &factory), S_OK);
    return static_cast<IClassFactory*>(factory);
}

} // namespace

TEST_F(RegistrationOrder, IsThatOfTheClassesBetweenAppIdAndHook)
{
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(TakeSteps(),
              (Steps{systemLocale, fixedAppId, "REGISTRY 101", "REGISTRY 106", "REGISTRY 103", "REGISTRY 104",
                     "REGISTRY 108", "REGISTRY 110", "REGISTRY 102", "REGISTRY 105", "REGISTRY 109",
                     "REGISTRY 111", "REGISTRY 112", "REGISTRY 107", "TYPELIB", "hook", itsLocale_}));
}

TEST_F(RegistrationOrder, IsTurnedRoundForTheAppIdAndTheHookOnly)
{
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_EQ(TakeSteps(), (Steps{systemLocale, "unhook", fixedAppId, "unREGISTRY 106", "unREGISTRY 103",
                                  "unREGISTRY 104", "unREGISTRY 108", "unREGISTRY 110", "unREGISTRY 102",
                                  "unREGISTRY 105", "unREGISTRY 109", "unREGISTRY 111", "unREGISTRY 112",
                                  "unREGISTRY 107", "unTYPELIB", "unREGISTRY 101", itsLocale_}));
}

TEST_F(RegistrationOrder, EndsWithTheFirstFailure)
{
    notingRegistrar.failing = 103;
    EXPECT_EQ(DllRegisterServer(), E_ABORT);
    EXPECT_EQ(TakeSteps(),
              (Steps{systemLocale, fixedAppId, "REGISTRY 101", "REGISTRY 106", "REGISTRY 103", itsLocale_}));
    EXPECT_EQ(DllUnregisterServer(), E_ABORT);
    EXPECT_EQ(TakeSteps(),
              (Steps{systemLocale, "unhook", fixedAppId, "unREGISTRY 106", "unREGISTRY 103", itsLocale_}));
    notingRegistrar.failing = 0;
    hookResult = E_HANDLE;
    EXPECT_EQ(DllRegisterServer(), E_HANDLE);
    EXPECT_EQ(TakeSteps().back(), itsLocale_);
    EXPECT_EQ(DllUnregisterServer(), E_HANDLE);
    EXPECT_EQ(TakeSteps(), (Steps{systemLocale, "unhook", itsLocale_}));
}

TEST_F(RegistrationOrder, FindsThePerformanceHooksInstalled)
{
    ASSERT_NE(hooksBefore_.onRegister, nullptr);
    ASSERT_NE(hooksBefore_.onUnregister, nullptr);
    static int opened;
    const auto count = [](HKEY, LPCWSTR, DWORD, REGSAM, PHKEY) -> LSTATUS {
        ++opened;
        return ERROR_ACCESS_DENIED;
    };
    const ReplacedImport<decltype(RegOpenKeyExW)> opening("RegOpenKeyExW", count);
    EXPECT_EQ(hooksBefore_.onRegister(), S_OK);
    EXPECT_EQ(hooksBefore_.onUnregister(), S_OK);
    EXPECT_EQ(opened, 0) << "without performance objects there is nothing to write";
}

TEST(ModuleStart, IsWaitedForByItsEntryPoints)
{
    CTavloModule::Terminate();
    void* factory = &factory;
    EXPECT_EQ(DllGetClassObject(CLSID_TavloFactory, IID_IClassFactory, nullptr), E_POINTER);
    EXPECT_EQ(DllGetClassObject(CLSID_TavloFactory, IID_IClassFactory, &factory), E_UNEXPECTED);
    EXPECT_EQ(factory, nullptr);
    EXPECT_EQ(DllRegisterServer(), E_UNEXPECTED);
    EXPECT_EQ(DllUnregisterServer(), E_UNEXPECTED);
    CTavloModule::Initialise();
    FactoryFrom(CLSID_TavloFactory)->Release();
    CTavloModule::Terminate();
}

// Each of them finds no factory and comes to the lock before either has entered it.
TEST(ModuleStart, GivesTwoThreadsThatComeAtOnceTheSameFactory)
{
    static std::atomic<int> atTheLock;
    static decltype(&EnterCriticalSection) enter;
    static thread_local bool isAsking;
    atTheLock = 0;
    CTavloModule::Initialise();
    std::array<IClassFactory*, 2> factories = {};
    bool haveMet = false;
    {
        const ReplacedImport<decltype(EnterCriticalSection)> meeting(
            "EnterCriticalSection", [](LPCRITICAL_SECTION section) {
                if (std::exchange(isAsking, false)) {
                    ++atTheLock;
                    HoldsSoon([] { return atTheLock == 2; });
                }
                enter(section);
            });
        enter = meeting.Original();
        const auto ask = [&](size_t number) {
            isAsking = true;
            factories[number] = FactoryFrom(CLSID_TavloDescriptor);
        };
        std::thread other([&] { ask(1); });
        ask(0);
        other.join();
        haveMet = atTheLock == 2;
    }
    EXPECT_TRUE(haveMet);
    EXPECT_EQ(factories[0], factories[1]);
    for (IClassFactory* factory : factories)
        factory->Release();
    CTavloModule::Terminate();
}
