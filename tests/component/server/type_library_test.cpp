// The published type libraries, which clients compile against: nothing in these tables may
// change while the version is 1.0.
#include "tests/component/server/type_library.h"

#include <algorithm>
#include <ostream>

namespace {

struct PublishedType
{
    const char* name;
    const char* text;

    friend std::ostream& operator<<(std::ostream& out, const PublishedType& type) { return out << type.name; }
};

const PublishedType tavloTypes[] = {
    {"ITavloDescriptor", R"(dual interface ITavloDescriptor {3DD0E194-5B53-4E53-9A60-E54ECD384B84} : IDispatch
0x1 get HRESULT Width([out, retval] long* pWidth)
0x1 put HRESULT Width([in] long value)
0x2 get HRESULT Height([out, retval] long* pHeight)
0x2 put HRESULT Height([in] long value)
0x3 get HRESULT Channels([out, retval] long* pChannels)
0x3 put HRESULT Channels([in] long value)
0x4 get HRESULT Bits([in] long channel, [out, retval] long* pBits)
0x4 put HRESULT Bits([in] long channel, [in] long value)
0x5 get HRESULT Encoding([in] long channel, [out, retval] TavloEncoding* pEncoding)
0x5 put HRESULT Encoding([in] long channel, [in] TavloEncoding value)
0x6 get HRESULT Offset([in] long channel, [out, retval] long* pOffset)
0x6 put HRESULT Offset([in] long channel, [in] long value)
0x7 get HRESULT Stride_x([in] long channel, [out, retval] long* pStride)
0x7 put HRESULT Stride_x([in] long channel, [in] long value)
0x8 get HRESULT Stride_y([in] long channel, [out, retval] long* pStride)
0x8 put HRESULT Stride_y([in] long channel, [in] long value)
)"},
    {"TavloEncoding", R"(enum TavloEncoding {A35E54A9-99A2-40A2-87C7-DCAA7231E03D}
Tavlo_Unsigned = 0
Tavlo_Signed = 1
Tavlo_Float = 2
Tavlo_RGB = 3
Tavlo_RGBA = 4
Tavlo_BGR = 5
Reserved3 = 6
Reserved4 = 7
Tavlo_Data = 8
Reserved1 = 9
Tavlo_Complex_Float = 10
Reserved2 = 11
Tavlo_Complex_Float_Half_Even = 12
Tavlo_BGRA = 13
Tavlo_Float_Vector2D = 14
Tavlo_Float_Vector3D = 15
Tavlo_Float_Vector4D = 16
Tavlo_Complex_Float_Half_Odd = 17
)"},
    {"ITavloDescriptor2",
     R"(dual interface ITavloDescriptor2 {265A90AA-0467-4509-A3BF-B629FCA72E65} : IDispatch
0x1 get HRESULT Width([out, retval] long* pWidth)
0x1 put HRESULT Width([in] long value)
0x2 get HRESULT Height([out, retval] long* pHeight)
0x2 put HRESULT Height([in] long value)
0x4 get HRESULT Bits([out, retval] long* pBits)
0x4 put HRESULT Bits([in] long value)
0x5 get HRESULT Encoding([out, retval] TavloEncoding* pEncoding)
0x5 put HRESULT Encoding([in] TavloEncoding value)
0x6 get HRESULT Offset([out, retval] long* pOffset)
0x6 put HRESULT Offset([in] long value)
0x7 get HRESULT Stride_x([out, retval] long* pStride)
0x7 put HRESULT Stride_x([in] long value)
0x8 get HRESULT Stride_y([out, retval] long* pStride)
0x8 put HRESULT Stride_y([in] long value)
)"},
    {"IReadAccessor", R"(interface IReadAccessor {4C7EEA26-EEA1-4788-90DD-8B3303175607} : IUnknown
void* Ptr([in, optional] long Offset = 0)
)"},
    {"IWriteAccessor", R"(interface IWriteAccessor {7EC8285A-33CA-495E-A96C-00C9C3B587AE} : IUnknown
void* Ptr([in, optional] long Offset = 0)
HRESULT Invalidate([in, optional] tagRECT* pDirty = 0)
)"},
    {"tagRECT", R"(struct tagRECT {00000000-0000-0000-0000-000000000000} of 16 bytes
long left
long top
long right
long bottom
)"},
    {"ITavloEvents", R"(interface ITavloEvents {8825785A-A132-4F90-AB6C-37ADA10ACC74} : IUnknown
HRESULT OnImageUpdate([in] ITavlo* pITavlo, [in] tagRECT* pDirty)
)"},
    {"ITavlo", R"(interface ITavlo {4EF5DA88-C261-42B7-BC84-EA86D5C862B1} : IUnknown
get HRESULT Descriptor([out, retval] ITavloDescriptor** ppIDescriptor)
HRESULT GetReadAccess([out, retval] IReadAccessor** ppIReadAccessor)
HRESULT GetWriteAccess([out, retval] IWriteAccessor** ppIWriteAccessor)
HRESULT Clone([in] TavloAccess access, [out, retval] ITavlo** ppITavlo)
HRESULT Subscribe([in] ITavloEvents* pIHandler, [in, optional] EventMode mode = 0)
HRESULT Unsubscribe([in] ITavloEvents* pIHandler)
)"},
    {"TavloAccess", R"(enum TavloAccess {2239C2C6-302F-4726-B32A-3EF7B06101DA}
Tavlo_ReadOnly = 0
Tavlo_SingleWriter = 1
Tavlo_MultipleWriters = 2
)"},
    {"EventMode", R"(enum EventMode {4885D644-6A02-45E4-BEB8-985B020BA22C}
Tavlo_Synchronous = 0
Tavlo_Asynchronous = 1
)"},
    {"ITavlo2", R"(dual interface ITavlo2 {8F352F7B-AFCF-4BE1-9408-3461C7C8EAD4} : IDispatch
0x60020000 get HRESULT Descriptor([out, retval] ITavloDescriptor2** ppIDescriptor)
0x60020001 HRESULT GetReadAccess([in] tagRECT* pRect, [in, optional] double prescale = 1.0, [out, retval] IReadAccessor** ppIReadAccessor)
0x60020002 HRESULT GetWriteAccess([out, retval] IWriteAccessor** ppIWriteAccessor)
0x60020003 HRESULT Clone([in] TavloAccess access, [out, retval] ITavlo2** ppITavlo)
0x60020004 HRESULT Subscribe([in] ITavloEvents* pIHandler, [in, optional] EventMode mode = 0)
0x60020005 HRESULT Unsubscribe([in] ITavloEvents* pIHandler)
0x60020006 HRESULT Dispose()
)"},
    {"ITavloFactory", R"(interface ITavloFactory {EF830CA5-B15D-4F83-985F-5DC29DB9A712} : IUnknown
HRESULT Create([in] ITavloDescriptor* pIDescriptor, [in] TavloAccess access, [out, retval] ITavlo** ppITavlo)
HRESULT Adopt([in] BSTR mapname, [in] ITavloDescriptor* pIDescriptor, [in] TavloAccess access, [out, retval] ITavlo** ppITavlo)
HRESULT GetSizeFor([in] long Width, [in] long Height, [in] long Stride_x, [in] long Stride_y, [out, retval] long* pSize)
)"},
    {"ITavloFactory2", R"(dual interface ITavloFactory2 {BB2DA09C-7EA5-4E44-8C65-8F5C754DD633} : IDispatch
0x60020000 HRESULT Create([in] ITavloDescriptor2* pIDescriptor, [in] TavloAccess access, [out, retval] ITavlo2** ppITavlo)
0x60020001 HRESULT Adopt([in] BSTR mapname, [in] ITavloDescriptor2* pIDescriptor, [in] TavloAccess access, [out, retval] ITavlo2** ppITavlo)
0x60020002 HRESULT GetSizeFor([in] long Width, [in] long Height, [in] long Stride_x, [in] long Stride_y, [out, retval] long* pSize)
)"},
    {"ITavloStub", R"(interface ITavloStub {0EC659CD-C491-41A1-AC91-BFBABA42F3D2} : IUnknown
get HRESULT Descriptor([out, retval] ITavloDescriptor** ppIDescriptor)
HRESULT Subscribe([in] ITavloEvents* pIHandler)
HRESULT GetData([in] tagRECT* pRect, [in] long size, [out] unsigned char* data)
)"},
    {"ILUTRecode", R"(interface ILUTRecode {11CF81E1-5345-4720-AC89-68173D63A720} : IUnknown
HRESULT Recode([in] unsigned char* src, [in, out] unsigned char* dst, [in] tagRECT* pSrcRect, [in] tagPOINT* pDstPoint)
HRESULT GetContrast([out] double* pValue)
HRESULT SetContrast([in] double c)
HRESULT GetBrightness([out] double* pValue)
HRESULT SetBrightness([in] double b)
HRESULT GetGamma([out] double* pValue)
HRESULT SetGamma([in] double g)
HRESULT GetSigma([out] double* pValue)
HRESULT SetSigma([in] double s)
HRESULT GetColor([in] double at, [out] unsigned long* pColor)
HRESULT SetColor([in] double at, [in] unsigned long colour)
HRESULT ResetColorLUT()
HRESULT Cast([in] unsigned char* src, [in, out] unsigned char* dst, [in] tagRECT* pSrcRect, [in] tagPOINT* pDstPoint)
)"},
    {"tagPOINT", R"(struct tagPOINT {00000000-0000-0000-0000-000000000000} of 8 bytes
long x
long y
)"},
    {"IRecode", R"(interface IRecode {ACF3D126-A01A-4633-B228-008CD333D511} : IUnknown
HRESULT Recode([in] TavloDescriptorData* pSrcDescr, [in] unsigned char* src, [in] TavloDescriptorData* pDstDescr, [in, out] unsigned char* dst, [in] tagRECT* pSrcRect, [in] tagPOINT* pDstPoint)
HRESULT Rewrite([in] TavloDescriptorData* pSrcDescr, [in] unsigned char* src, [in] TavloDescriptorData* pDstDescr, [in, out] unsigned char* dst, [in] tagRECT* pSrcRect, [in] tagPOINT* pDstPoint)
HRESULT CreateLUTRecoder([in] TavloDescriptorData* pSrcDescr, [in] TavloDescriptorData* pDstDescr, [out, retval] ILUTRecode** ppIRecoder)
HRESULT TavloDataSize([in] ITavloDescriptor* pIDescriptor, [out, retval] unsigned long* pSize)
HRESULT Cast([in] TavloDescriptorData* pSrcDescr, [in] unsigned char* src, [in] TavloDescriptorData* pDstDescr, [in, out] unsigned char* dst, [in] tagRECT* pSrcRect, [in] tagPOINT* pDstPoint)
)"},
    {"TavloDescriptorData", R"(struct TavloDescriptorData {5C94F7FE-C28C-44D5-9231-E7D7DC895A89} of 28 bytes
long Width
long Height
long Bits
TavloEncoding Encoding
long Offset
long Stride_x
long Stride_y
)"},
    {"ITavloAddressor", R"(dual interface ITavloAddressor {DF5FAEEC-8077-4810-8C13-64249A269DBA} : IDispatch
0x60020000 HRESULT Attach([in] ITavlo2* pITavlo)
0x60020001 HRESULT Detach()
0x0 get HRESULT Pixel([in] long x, [in] long y, [out, retval] VARIANT* pValue)
0x0 put HRESULT Pixel([in] long x, [in] long y, [in] VARIANT value)
)"},
    {"ITavloEventsReflector",
     R"(dual interface ITavloEventsReflector {2F29824B-D7D2-463A-B231-B35660640C50} : IDispatch
0x60020000 HRESULT Connect([in] ITavlo2* pITavlo)
0x60020001 HRESULT Disconnect()
)"},
    {"_ITavloEvents", R"(dispinterface _ITavloEvents {0A2D032E-5C95-4A92-8C90-1C0CC60B4BC3}
0x1 void OnImageUpdate([in] IRectangle* pDirty)
)"},
    {"TavloStub", R"(coclass TavloStub {C271B1D7-B528-48DF-9EE2-528EC16ABDD0}
default ITavloStub
)"},
    {"ReadAccessor", R"(coclass ReadAccessor {6C09CEF9-F061-496C-8789-0C28E11F44B6}
default IReadAccessor
)"},
    {"WriteAccessor", R"(coclass WriteAccessor {397F446F-10AA-4C00-8865-BEF2ACC99966}
default IWriteAccessor
)"},
    {"TavloDescriptor", R"(coclass TavloDescriptor {FFEDBA18-8100-4C5C-8ED4-F5F572E72199}
default ITavloDescriptor
)"},
    {"TavloDescriptor2", R"(coclass TavloDescriptor2 {2706B2A6-EEB2-4C9A-84D1-B9F478464061}
default ITavloDescriptor2
)"},
    {"Tavlo", R"(coclass Tavlo {E62380FC-9CC5-43A9-BEE7-0582C903B4A9}
default ITavlo2
ITavlo
)"},
    {"TavloProxy", R"(coclass TavloProxy {C04DF275-32B5-45BD-A5ED-6B82FC95272B}
default ITavlo2
ITavlo
)"},
    {"TavloAddressor", R"(coclass TavloAddressor {627B7380-7FDA-410D-90A4-80B8BDC83A25}
default ITavloAddressor
)"},
    {"CoRecoder", R"(coclass CoRecoder {D0F78704-6FED-4891-BAC1-C36C9BC6733B}
default IRecode
)"},
    {"TavloEventsReflector", R"(coclass TavloEventsReflector {37F880D8-542D-40A3-B597-4E12BC3EE1B5}
default ITavloEventsReflector
default source _ITavloEvents
)"},
    {"TavloFactory", R"(coclass TavloFactory {7C942B63-FA03-4A48-B66F-AE1761DC6DF2}
default ITavloFactory2
ITavloFactory
)"},
    {"TavloRD", R"(coclass TavloRD {37B89C5D-DD0A-4C76-95FD-6B6666817983}
default ITavlo2
ITavlo
)"},
};

const PublishedType commonTypes[] = {
    {"IRectangle", R"(dual interface IRectangle {D8F95678-9724-4197-87D1-04425930998F} : IDispatch
0x1 get HRESULT Left([out, retval] long* pLeft)
0x1 put HRESULT Left([in] long value)
0x2 get HRESULT Top([out, retval] long* pTop)
0x2 put HRESULT Top([in] long value)
0x3 get HRESULT Right([out, retval] long* pRight)
0x3 put HRESULT Right([in] long value)
0x4 get HRESULT Bottom([out, retval] long* pBottom)
0x4 put HRESULT Bottom([in] long value)
)"},
    {"IRectangleInt", R"(dual interface IRectangleInt {E5E57F60-4FFE-4D06-BF23-C59F62142898} : IDispatch
0x1 get HRESULT Left([out, retval] long* pLeft)
0x1 put HRESULT Left([in] long value)
0x2 get HRESULT Top([out, retval] long* pTop)
0x2 put HRESULT Top([in] long value)
0x3 get HRESULT Right([out, retval] long* pRight)
0x3 put HRESULT Right([in] long value)
0x4 get HRESULT Bottom([out, retval] long* pBottom)
0x4 put HRESULT Bottom([in] long value)
)"},
};

const TypeLibraryText& TavloLibrary()
{
    static const TypeLibraryText library(TAVLO_DLL_PATH);
    return library;
}

const TypeLibraryText& CommonLibrary()
{
    static const TypeLibraryText library(COMMON_LIBRARY_PATH);
    return library;
}

/// The names in the headings of the descriptions, in their order.
template <size_t size>
std::vector<std::string> NamesOf(const PublishedType (&types)[size])
{
    std::vector<std::string> names;
    for (const PublishedType& type : types)
        names.emplace_back(type.name);
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> NamesIn(const TypeLibraryText& library)
{
    std::vector<std::string> names;
    for (const std::string& type : library.Types())
        names.push_back(type.substr(type.rfind(' ') + 1));
    std::sort(names.begin(), names.end());
    return names;
}

class TavloType : public testing::TestWithParam<PublishedType>
{
};

class CommonType : public testing::TestWithParam<PublishedType>
{
};

std::string NameOfType(const testing::TestParamInfo<PublishedType>& type)
{
    return type.param.name;
}

} // namespace

TEST_P(TavloType, IsAsPublished)
{
    EXPECT_EQ(TavloLibrary().Describe(GetParam().name), GetParam().text);
}

TEST_P(CommonType, IsAsPublished)
{
    EXPECT_EQ(CommonLibrary().Describe(GetParam().name), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(TypeLibrary, TavloType, testing::ValuesIn(tavloTypes), NameOfType);
INSTANTIATE_TEST_SUITE_P(TypeLibrary, CommonType, testing::ValuesIn(commonTypes), NameOfType);

TEST(TypeLibrary, HasItsNameVersionAndHelp)
{
    EXPECT_EQ(TavloLibrary().Identity(),
              "TavloLib 1.0 {44CD5486-FA2D-4DAD-8312-1FFD0BB12B89} Tavlo 1.4 Type Library");
    EXPECT_EQ(CommonLibrary().Identity(),
              "CommonSentelLib 1.0 {80384BE4-AF42-443A-8F1B-0E3ECF0F0CDF} Sentel Common 1.0 Type Library");
}

TEST(TypeLibrary, HasNoOtherTypes)
{
    EXPECT_EQ(NamesIn(TavloLibrary()), NamesOf(tavloTypes));
    EXPECT_EQ(NamesIn(CommonLibrary()), NamesOf(commonTypes));
}

TEST(TypeLibrary, HasTwelveClasses)
{
    const std::vector<std::string> types = TavloLibrary().Types();
    EXPECT_EQ(std::count_if(types.begin(), types.end(),
                            [](const std::string& type) { return type.rfind("coclass ", 0) == 0; }),
              12);
}

TEST(TypeLibrary, ExplainsEverything)
{
    EXPECT_EQ(TavloLibrary().WithoutHelp(), std::vector<std::string>());
    EXPECT_EQ(CommonLibrary().WithoutHelp(), std::vector<std::string>());
}
