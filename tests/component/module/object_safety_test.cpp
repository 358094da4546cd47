#include "module/object_safety.h"

#include "module/object.h"

#include <gtest/gtest.h>

using namespace Mardu;

namespace {

class SafeObject : public ComObject<IPersist, ObjectSafety>
{
public:
    STDMETHODIMP GetClassID(CLSID*) override { return E_NOTIMPL; }
};

constexpr DWORD safeCaller = INTERFACESAFE_FOR_UNTRUSTED_CALLER;
constexpr DWORD safeData = INTERFACESAFE_FOR_UNTRUSTED_DATA;

class Safety : public testing::Test
{
protected:
    DWORD Enabled() const
    {
        DWORD supported = 0;
        DWORD enabled = 99;
        EXPECT_EQ(object->GetInterfaceSafetyOptions(IID_IPersist, &supported, &enabled), S_OK);
        return enabled;
    }

    ComPtr<SafeObject> object = Make<SafeObject>();
};

} // namespace

TEST_F(Safety, IsAnInterfaceOfTheObject)
{
    ComPtr<IObjectSafety> safety;
    EXPECT_EQ(object->QueryInterface(IID_IObjectSafety, reinterpret_cast<void**>(safety.GetAddressOf())),
              S_OK);
}

TEST_F(Safety, SupportsUntrustedCallersAndData)
{
    DWORD supported = 0;
    DWORD enabled = 0;
    ASSERT_EQ(object->GetInterfaceSafetyOptions(IID_IPersist, &supported, &enabled), S_OK);
    EXPECT_EQ(supported, safeCaller | safeData);
}

TEST_F(Safety, EnablesNothingAtFirst)
{
    EXPECT_EQ(Enabled(), 0u);
}

TEST_F(Safety, RemembersWhatIsEnabled)
{
    ASSERT_EQ(object->SetInterfaceSafetyOptions(IID_IPersist, safeCaller | safeData, safeCaller | safeData),
              S_OK);
    EXPECT_EQ(Enabled(), safeCaller | safeData);
}

TEST_F(Safety, ChangesOnlyTheOptionsOfTheMask)
{
    ASSERT_EQ(object->SetInterfaceSafetyOptions(IID_IPersist, safeCaller, safeCaller), S_OK);
    ASSERT_EQ(object->SetInterfaceSafetyOptions(IID_IPersist, safeData, safeCaller | safeData), S_OK);
    EXPECT_EQ(Enabled(), safeCaller | safeData);
    ASSERT_EQ(object->SetInterfaceSafetyOptions(IID_IPersist, safeCaller, 0), S_OK);
    EXPECT_EQ(Enabled(), safeData);
}

TEST_F(Safety, IgnoresEnabledOptionsOutsideTheMask)
{
    ASSERT_EQ(object->SetInterfaceSafetyOptions(IID_IPersist, safeCaller, 0xFFFFFFFF), S_OK);
    EXPECT_EQ(Enabled(), safeCaller);
}

TEST_F(Safety, ChangesNothingWithoutAMask)
{
    ASSERT_EQ(object->SetInterfaceSafetyOptions(IID_IPersist, 0, safeCaller), S_OK);
    EXPECT_EQ(Enabled(), 0u);
}

TEST_F(Safety, RefusesAMaskOfUnsupportedOptions)
{
    ASSERT_EQ(object->SetInterfaceSafetyOptions(IID_IPersist, safeCaller, safeCaller), S_OK);
    EXPECT_EQ(object->SetInterfaceSafetyOptions(IID_IPersist, 4 | safeData, 4 | safeData), E_FAIL);
    EXPECT_EQ(Enabled(), safeCaller);
}

TEST_F(Safety, RefusesInterfacesThatTheObjectLacks)
{
    DWORD supported = 99;
    DWORD enabled = 99;
    EXPECT_EQ(object->GetInterfaceSafetyOptions(IID_IDispatch, &supported, &enabled), E_NOINTERFACE);
    EXPECT_EQ(supported, 0u);
    EXPECT_EQ(enabled, 0u);
    EXPECT_EQ(object->SetInterfaceSafetyOptions(IID_IDispatch, safeCaller, safeCaller), E_NOINTERFACE);
    EXPECT_EQ(Enabled(), 0u);
}

TEST_F(Safety, NeedsBothOutPointers)
{
    DWORD value = 0;
    EXPECT_EQ(object->GetInterfaceSafetyOptions(IID_IPersist, nullptr, &value), E_POINTER);
    EXPECT_EQ(object->GetInterfaceSafetyOptions(IID_IPersist, &value, nullptr), E_POINTER);
}

TEST_F(Safety, IsRememberedPerObject)
{
    const ComPtr<SafeObject> other = Make<SafeObject>();
    ASSERT_EQ(other->SetInterfaceSafetyOptions(IID_IPersist, safeData, safeData), S_OK);
    EXPECT_EQ(Enabled(), 0u);
}

TEST_F(Safety, KeepsNoReferenceToTheObject)
{
    DWORD value = 0;
    object->GetInterfaceSafetyOptions(IID_IPersist, &value, &value);
    object->SetInterfaceSafetyOptions(IID_IPersist, safeData, safeData);
    object->AddRef();
    EXPECT_EQ(object->Release(), 1u);
}
