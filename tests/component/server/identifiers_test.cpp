// The identifiers that clients, registries and packets know, written down once more by hand: what
// is made of the interface descriptions follows them, and nobody would notice a change there.
#include "SentelCommon.h"
#include "TavloInternal.h"
#include "TavloLib.h"

#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>
#include <vector>

namespace {

struct FixedIdentifier
{
    const char* name;
    const GUID* identifier;
    const char* text;
};

#define IDENTIFIER(name, text)                                                                               \
    {                                                                                                        \
#name, &(name), text                                                                                 \
    }

const std::vector<FixedIdentifier> fixedIdentifiers = {
    IDENTIFIER(IID_ITavloDescriptor, "{3DD0E194-5B53-4E53-9A60-E54ECD384B84}"),
    IDENTIFIER(IID_ITavloDescriptor2, "{265A90AA-0467-4509-A3BF-B629FCA72E65}"),
    IDENTIFIER(IID_IReadAccessor, "{4C7EEA26-EEA1-4788-90DD-8B3303175607}"),
    IDENTIFIER(IID_IWriteAccessor, "{7EC8285A-33CA-495E-A96C-00C9C3B587AE}"),
    IDENTIFIER(IID_ITavloEvents, "{8825785A-A132-4F90-AB6C-37ADA10ACC74}"),
    IDENTIFIER(IID_ITavlo, "{4EF5DA88-C261-42B7-BC84-EA86D5C862B1}"),
    IDENTIFIER(IID_ITavlo2, "{8F352F7B-AFCF-4BE1-9408-3461C7C8EAD4}"),
    IDENTIFIER(IID_ITavloFactory, "{EF830CA5-B15D-4F83-985F-5DC29DB9A712}"),
    IDENTIFIER(IID_ITavloFactory2, "{BB2DA09C-7EA5-4E44-8C65-8F5C754DD633}"),
    IDENTIFIER(IID_ITavloStub, "{0EC659CD-C491-41A1-AC91-BFBABA42F3D2}"),
    IDENTIFIER(IID_ILUTRecode, "{11CF81E1-5345-4720-AC89-68173D63A720}"),
    IDENTIFIER(IID_IRecode, "{ACF3D126-A01A-4633-B228-008CD333D511}"),
    IDENTIFIER(IID_ITavloAddressor, "{DF5FAEEC-8077-4810-8C13-64249A269DBA}"),
    IDENTIFIER(IID_ITavloEventsReflector, "{2F29824B-D7D2-463A-B231-B35660640C50}"),
    IDENTIFIER(LIBID_TavloLib, "{44CD5486-FA2D-4DAD-8312-1FFD0BB12B89}"),
    IDENTIFIER(DIID__ITavloEvents, "{0A2D032E-5C95-4A92-8C90-1C0CC60B4BC3}"),
    IDENTIFIER(CLSID_TavloStub, "{C271B1D7-B528-48DF-9EE2-528EC16ABDD0}"),
    IDENTIFIER(CLSID_ReadAccessor, "{6C09CEF9-F061-496C-8789-0C28E11F44B6}"),
    IDENTIFIER(CLSID_WriteAccessor, "{397F446F-10AA-4C00-8865-BEF2ACC99966}"),
    IDENTIFIER(CLSID_TavloDescriptor, "{FFEDBA18-8100-4C5C-8ED4-F5F572E72199}"),
    IDENTIFIER(CLSID_TavloDescriptor2, "{2706B2A6-EEB2-4C9A-84D1-B9F478464061}"),
    IDENTIFIER(CLSID_Tavlo, "{E62380FC-9CC5-43A9-BEE7-0582C903B4A9}"),
    IDENTIFIER(CLSID_TavloProxy, "{C04DF275-32B5-45BD-A5ED-6B82FC95272B}"),
    IDENTIFIER(CLSID_TavloAddressor, "{627B7380-7FDA-410D-90A4-80B8BDC83A25}"),
    IDENTIFIER(CLSID_CoRecoder, "{D0F78704-6FED-4891-BAC1-C36C9BC6733B}"),
    IDENTIFIER(CLSID_TavloEventsReflector, "{37F880D8-542D-40A3-B597-4E12BC3EE1B5}"),
    IDENTIFIER(CLSID_TavloFactory, "{7C942B63-FA03-4A48-B66F-AE1761DC6DF2}"),
    IDENTIFIER(CLSID_TavloRD, "{37B89C5D-DD0A-4C76-95FD-6B6666817983}"),
    IDENTIFIER(IID_ITavloInternal, "{446A91AD-25AE-4A3E-9254-855B22F03802}"),
    IDENTIFIER(IID_IRectangle, "{D8F95678-9724-4197-87D1-04425930998F}"),
    IDENTIFIER(IID_IRectangleInt, "{E5E57F60-4FFE-4D06-BF23-C59F62142898}"),
    IDENTIFIER(LIBID_CommonSentelLib, "{80384BE4-AF42-443A-8F1B-0E3ECF0F0CDF}"),
};

#undef IDENTIFIER

std::string RegistryForm(const GUID& identifier)
{
    std::array<wchar_t, 48> text;
    EXPECT_NE(StringFromGUID2(identifier, text.data(), static_cast<int>(text.size())), 0);
    std::string narrow;
    for (const wchar_t* c = text.data(); *c != L'\0'; ++c)
        narrow.push_back(static_cast<char>(*c));
    return narrow;
}

} // namespace

TEST(FixedIdentifiers, AreTheOnesThatWereChosen)
{
    std::set<std::string> all;
    for (const FixedIdentifier& fixed : fixedIdentifiers) {
        EXPECT_EQ(RegistryForm(*fixed.identifier), fixed.text) << fixed.name;
        all.insert(fixed.text);
    }
    EXPECT_EQ(all.size(), fixedIdentifiers.size());
}
