#pragma once

#include "cpplanguage/orlostring.h"
#include "interfaces/imetamodel.h"

#include <fstream>
#include <map>
#include <set>
#include <string>

namespace MetaModel {

// Writes typed headers for a finished model: one per category or type, laid out below the
// output folder as the categories' "ROOT_PATH" folders lie below `rootPath`, and
// "AllWrappers.h" that includes them all. The set is written into a work folder first and
// merged into the output at the end, so the output never holds half a set and unchanged
// headers keep their dates. Failures throw WrapperGeneratorException. One object, one Build.
class WrapperGenerator {
public:
    WrapperGenerator(const QEL::IMetaModel* model, const ORLO::String& rootPath,
                     const ORLO::String& outputDirectory);
    virtual ~WrapperGenerator();
    WrapperGenerator(const WrapperGenerator&) = delete;
    WrapperGenerator& operator=(const WrapperGenerator&) = delete;

    void Build();

private:
    void Start();
    void End();
    void BuildCategoryAndBases(const QEL::ICategory* category);
    void BuildCategory(const QEL::ICategory* category);
    // Appends the nested class of one property to the header being written.
    void BuildProperty(const QEL::IProperty* property, const ORLO::String& categoryName);
    const ORLO::String& getNormalizedCatName(const QEL::ICategory* category);
    const ORLO::String& getNormalizedPropName(const QEL::IProperty* property);
    // Relative to the top of the generated tree, with '/' between the pieces.
    const ORLO::String& getWrapperInclFile(const QEL::ICategory* category);

    const QEL::IMetaModel* model;
    ORLO::String outputDirectory;
    ORLO::String workDirectory;
    ORLO::String rootPath;
    std::ofstream allWrappersFile;
    std::ofstream categoryFile;
    // The header being written, sent to categoryFile in one piece.
    std::string categoryText;
    std::set<const QEL::ICategory*> builtCategories;
    std::map<const QEL::ICategory*, ORLO::String> normalizedCategoryNames;
    std::map<const QEL::IProperty*, ORLO::String> normalizedPropertyNames;
    std::map<const QEL::ICategory*, ORLO::String> wrapperIncludeFiles;
};

} // namespace MetaModel
