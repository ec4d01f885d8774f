#include "cli/documentpaths.h"

#include "cpplanguage/messages.h"
#include "platform/orlofile.h"

namespace Cli {

namespace {

bool endsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() &&
           text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

} // namespace

bool addDocumentPaths(MetaModel::CXMLMetaModelReader& reader,
                      const std::vector<std::string>& paths) {
    bool allThere = true;
    for (const std::string& path : paths) {
        if (endsWith(path, "MetaModel.xml")) {
            reader.addFile(path);
        } else if (ORLO::File(path).isDirectory()) {
            reader.AddRootPath(path);
        } else {
            CppLanguage::reportAt(ORLO_HERE, {}, "QEL_MM_ROOT_NOT_FOUND", {{"PATH", path}});
            allThere = false;
        }
    }
    return allThere;
}

} // namespace Cli
