#include "tests/component/server/component_classes.h"

#include "SentelCommon.h"

#include <ocidl.h>

#define NAMED(Interface)                                                                                     \
    {                                                                                                        \
#Interface, __uuidof(Interface)                                                                      \
    }

const std::vector<ComponentClass>& ComponentClasses()
{
    static const std::vector<ComponentClass> classes = {
        {"TavloStub", CLSID_TavloStub, {NAMED(ITavloStub), NAMED(ITavloEvents)}, false},
        {"ReadAccessor", CLSID_ReadAccessor, {NAMED(IReadAccessor), NAMED(IMarshal)}, false},
        {"WriteAccessor", CLSID_WriteAccessor, {NAMED(IWriteAccessor), NAMED(IMarshal)}, false},
        {"TavloDescriptor",
         CLSID_TavloDescriptor,
         {NAMED(ITavloDescriptor), NAMED(IDispatch), NAMED(IMarshal), NAMED(IObjectSafety)},
         true},
        {"TavloDescriptor2",
         CLSID_TavloDescriptor2,
         {NAMED(ITavloDescriptor2), NAMED(IDispatch), NAMED(IMarshal), NAMED(IObjectSafety)},
         true},
        {"Tavlo",
         CLSID_Tavlo,
         {NAMED(ITavlo2), NAMED(IDispatch), NAMED(ITavlo), NAMED(IObjectSafety), NAMED(ITavloInternal),
          NAMED(IMarshal)},
         true},
        {"TavloProxy",
         CLSID_TavloProxy,
         {NAMED(ITavlo2), NAMED(IDispatch), NAMED(ITavlo), NAMED(ITavloInternal), NAMED(ITavloEvents),
          NAMED(IMarshal)},
         false},
        {"TavloAddressor",
         CLSID_TavloAddressor,
         {NAMED(ITavloAddressor), NAMED(IDispatch), NAMED(IObjectSafety)},
         true},
        {"CoRecoder", CLSID_CoRecoder, {NAMED(IRecode)}, false},
        {"TavloEventsReflector",
         CLSID_TavloEventsReflector,
         {NAMED(ITavloEventsReflector), NAMED(IDispatch), NAMED(IObjectSafety),
          NAMED(IConnectionPointContainer)},
         true},
        {"TavloFactory",
         CLSID_TavloFactory,
         {NAMED(ITavloFactory2), NAMED(IDispatch), NAMED(ITavloFactory), NAMED(IObjectSafety)},
         true},
    };
    return classes;
}

const std::vector<NamedInterface>& KnownInterfaces()
{
    static const std::vector<NamedInterface> interfaces = {
        NAMED(ITavloDescriptor),
        NAMED(ITavloDescriptor2),
        NAMED(IReadAccessor),
        NAMED(IWriteAccessor),
        NAMED(ITavloEvents),
        NAMED(ITavlo),
        NAMED(ITavlo2),
        NAMED(ITavloInternal),
        NAMED(ITavloFactory),
        NAMED(ITavloFactory2),
        NAMED(ITavloStub),
        NAMED(ILUTRecode),
        NAMED(IRecode),
        NAMED(ITavloAddressor),
        NAMED(ITavloEventsReflector),
        {"_ITavloEvents", DIID__ITavloEvents},
        NAMED(IRectangle),
        NAMED(IRectangleInt),
        NAMED(IDispatch),
        NAMED(IMarshal),
        NAMED(IObjectSafety),
        NAMED(IConnectionPointContainer),
        NAMED(IConnectionPoint),
        NAMED(IEnumConnections),
        NAMED(IEnumConnectionPoints),
        NAMED(IClassFactory),
        NAMED(IProvideClassInfo),
        NAMED(ISupportErrorInfo),
        NAMED(IPersist),
        NAMED(IStream),
        {"null", GUID_NULL},
    };
    return interfaces;
}
