#pragma once

#include "cpplanguage/orlostring.h"
#include "interfaces/imetamodel.h"
#include "metamodel/metamodelexceptions.h"

#include <fstream>
#include <map>
#include <set>
#include <string>
#include <string_view>

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

    // Receives, in Build's order, what Build would write below the output folder: each folder
    // it makes, and each piece of text it appends to a file, by path relative to that folder.
    class RenderTarget {
    public:
        virtual ~RenderTarget() = default;
        virtual void folder(const std::string& path) = 0;
        virtual void text(const std::string& path, std::string_view text) = 0;
    };
    // Plays into `target` what Build would write, and touches nothing on disk. Answers false
    // where the files on disk could differ from the texts played: a path with an empty, "." or
    // ".." piece, a folder on a file's path, a header on the summary's path. Shares Build's
    // memos: an object serves one of the two.
    bool Render(RenderTarget& target);

private:
    void Start();
    void End();
    void BuildCategoryAndBases(const QEL::ICategory* category);
    // The one place each text reaches: the work folder during Build, `rendering` during Render.
    void makeFolder(const ORLO::String& relative);
    void writeSummary(std::string_view text);
    // A header's file is opened before its text is made, so that one that cannot be written
    // fails before anything else about it.
    void openHeader(const ORLO::String& include);
    void writeHeader(const ORLO::String& include, const std::string& text);
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
    struct Rendering;
    Rendering* rendering = nullptr;
    std::set<const QEL::ICategory*> builtCategories;
    std::map<const QEL::ICategory*, ORLO::String> normalizedCategoryNames;
    std::map<const QEL::IProperty*, ORLO::String> normalizedPropertyNames;
    std::map<const QEL::ICategory*, ORLO::String> wrapperIncludeFiles;
};

} // namespace MetaModel
