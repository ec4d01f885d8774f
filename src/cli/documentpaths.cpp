#include "cli/documentpaths.h"

#include "cpplanguage/messages.h"
#include "metamodel/operations/documentfiles.h"
#include "metamodel/operations/operationreading.h"
#include "platform/orlofile.h"

namespace Cli {

bool documentPathsExist(const std::vector<std::string>& paths) {
    bool allThere = true;
    for (const std::string& path : paths)
        if (!MetaModel::namesDocument(path) && !ORLO::File(path).isDirectory()) {
            CppLanguage::reportAt(ORLO_HERE, {}, "QEL_MM_ROOT_NOT_FOUND", {{"PATH", path}});
            allThere = false;
        }
    return allThere;
}

bool addDocumentPaths(MetaModel::CXMLMetaModelReader& reader,
                      const std::vector<std::string>& paths) {
    if (!documentPathsExist(paths))
        return false;
    MetaModel::addOperationPaths(reader, paths);
    return true;
}

} // namespace Cli
