#include "cli/modelsource.h"

#include "cli/documentpaths.h"
#include "interfaces/imetamodel.h"
#include "metamodel/repository/dbmetamodelreader.h"
#include "platform/database/uniqueconnection.h"
#include "platform/messages.h"

#include <vector>

namespace Cli {

ModelSource::ModelSource(const std::string& command, const CommandArguments& arguments)
    : database_(arguments.value("db", "")), schema_(arguments.value("schema", "")),
      paths_(arguments.operands), documents_(paths_) {
    if (arguments.has("db") && database_.empty())
        throw UsageError("--db needs a repository", command);
    if (fromRepository() && !paths_.empty())
        throw UsageError("--db reads the repository instead of documents: no PATH", command);
    if (!fromRepository() && arguments.has("schema"))
        throw UsageError("--schema needs --db", command);
}

bool ModelSource::prepare() {
    return fromRepository() || documentPathsReadable(paths_);
}

bool ModelSource::play(MetaModel::IMetaModelEvents& sink,
                       const std::function<bool()>& repositoryOpened) {
    if (!fromRepository()) {
        documents_.SetEvents(&sink);
        documents_.Read();
        return true;
    }
    IUniqueConnection connection(database_, schema_);
    if (repositoryOpened && !repositoryOpened())
        return false;
    MetaModel::CDBMetaModelReader repository(connection.GetHandle());
    repository.SetEvents(&sink);
    repository.Read();
    return true;
}

bool buildModel(ModelSource& source, MetaModel::CMetaModelBuilder& builder,
                const std::function<bool()>& repositoryOpened) {
    if (!source.prepare())
        return false;
    try {
        return source.play(builder, repositoryOpened);
    } catch (const CppLanguage::CRuntimeException& failure) {
        CppLanguage::reportException(failure);
        return false;
    }
}

const QEL::IMetaModel& keepUntilExit(MetaModel::CMetaModelBuilder& builder) {
    // Never destroyed, so that nothing at exit walks the models either.
    static auto* const kept = new std::vector<QEL::IMetaModel*>;
    kept->push_back(builder.DetachMetaModel());
    return *kept->back();
}

} // namespace Cli
