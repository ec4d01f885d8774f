#pragma once

#include "cpplanguage/orlostring.h"
#include "metamodel/services/nodservices.h"
#include "metamodel/stream/metamodelevents.h"
#include "metamodel/stream/metamodelreader.h"
#include "platform/database/uniqueconnection.h"

#include <type_traits>

namespace MetaModel {

// The repository's reader and writer work on the connectivity handle, not on the caller's
// connection object.
template <class I, class C>
class CDBMetaModelFactoryService : public NodServices::CFactory1<I, C, IUniqueConnection*> {
public:
    I* Create(IUniqueConnection* connection) override { return make(connection->GetHandle()); }

private:
    static C* make(void* handle) {
        if constexpr (std::is_constructible_v<C, void*, const ORLO::String&>)
            return new C(handle, ORLO::String());
        else
            return new C(handle);
    }
};

using DBMetaModelEventsFactory = NodServices::IFactory1<IMetaModelEvents, IUniqueConnection*>;
using DBMetaModelReaderFactory = NodServices::IFactory1<IMetaModelReader, IUniqueConnection*>;
using ValidationMetaModelEventsFactory = NodServices::IFactory<IMetaModelEvents>;
using XMLMetaModelEventsFactory = NodServices::IFactory1<IMetaModelEvents, const ORLO::String&>;
using XMLMetaModelReaderFactory = NodServices::IFactory<IMetaModelReader>;

} // namespace MetaModel
