#include "metamodel/operations/documentfiles.h"

#include "platform/orlofile.h"

namespace MetaModel {

namespace {

const std::string documentSuffix = "MetaModel.xml";

} // namespace

bool namesDocument(const std::string& path) {
    return path.size() >= documentSuffix.size() &&
           path.compare(path.size() - documentSuffix.size(), documentSuffix.size(),
                        documentSuffix) == 0;
}

std::vector<std::string> getMetaModelFiles(const std::string& path) {
    std::vector<std::string> documents;
    const ORLO::File root{ORLO::String(path)};
    if (!root.isDirectory()) {
        if (namesDocument(path))
            documents.push_back(path);
        return documents;
    }
    std::vector<ORLO::File> entries;
    root.listFiles(entries, ORLO::IFileFilter::getMatchAllFileFilter(), false);
    for (const ORLO::File& entry : entries) {
        if (entry.isDirectory()) {
            std::vector<std::string> below = getMetaModelFiles(entry.getAbsolutePath());
            documents.insert(documents.end(), below.begin(), below.end());
        } else if (entry.isFile()) {
            std::string absolute = entry.getAbsolutePath();
            if (namesDocument(absolute))
                documents.push_back(std::move(absolute));
        }
    }
    return documents;
}

} // namespace MetaModel
