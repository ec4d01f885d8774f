#include "cli/documentpaths.h"

#include "cpplanguage/messages.h"
#include "metamodel/operations/documentfiles.h"
#include "metamodel/operations/operationreading.h"
#include "platform/orlofile.h"

namespace Cli {

bool documentPathsExist(const std::vector<std::string>& paths) {
    bool allThere = true;
    for (const std::string& path : paths) {
        // The folder a placeholder stands for is tested; the reader still gets the symbolic
        // form, which its documents keep as their root.
        ORLO::String folder(path);
        MetaModel::CXMLMetaModelReader::ResolvePlaceholders(folder);
        if (!MetaModel::namesDocument(path) && !ORLO::File(folder).isDirectory()) {
            CppLanguage::reportAt(ORLO_HERE, {}, "QEL_MM_ROOT_NOT_FOUND", {{"PATH", path}});
            allThere = false;
        }
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
