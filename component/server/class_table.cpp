#include "server/tavlo_module.h"

#include "access/accessor.h"
#include "access/proxy/tavlo_proxy.h"
#include "access/stub/tavlo_stub.h"
#include "addressor/co_addressor.h"
#include "events/tavlo_events_reflector.h"
#include "image/tavlo_descriptor.h"
#include "image/tavlo_descriptor2.h"
#include "recode/co_recoder.h"
#include "shared/image/tavlo.h"
#include "shared/image/tavlo_factory.h"

#include "TavloLib.h"

namespace Mardu::Sentel::Tavlo {

std::span<ClassEntry> ClassTable() noexcept
{
    static ClassEntry table[] = {
        {&CLSID_TavloStub, 106, MakeInstance<CTavloStub>},
        {&CLSID_ReadAccessor, 103, MakeInstance<CReadAccessor>},
        {&CLSID_WriteAccessor, 104, MakeInstance<CWriteAccessor>},
        {&CLSID_TavloDescriptor, 108, MakeInstance<CTavloDescriptor>},
        {&CLSID_TavloDescriptor2, 110, MakeInstance<CTavloDescriptor2>},
        {&CLSID_Tavlo, 102, MakeInstance<CTavlo>},
        {&CLSID_TavloProxy, 105, MakeInstance<CTavloProxy>},
        {&CLSID_TavloAddressor, 109, MakeInstance<CCoAddressor>},
        {&CLSID_CoRecoder, 111, MakeInstance<CCoRecoder>},
        {&CLSID_TavloEventsReflector, 112, MakeInstance<CTavloEventsReflector>},
        {&CLSID_TavloFactory, 107, MakeInstance<CTavloFactory>},
    };
    return table;
}

} // namespace Mardu::Sentel::Tavlo
