#include "metamodel/wrappers/wrappergenerator.h"

#include "metamodel/metamodelexceptions.h"
#include "metamodel/model/propertytype.h"
#include "metamodel/operations/fileop.h"
#include "platform/appdatamanager.h"
#include "platform/messages.h"
#include "platform/orlofile.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>
#include <vector>

namespace MetaModel {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view allWrappersName = "AllWrappers.h";
constexpr std::string_view rule =
    "//---------------------------------------------------------------";
constexpr std::string_view deprecatedMark = "__declspec(deprecated) ";
constexpr int firstIdWithoutWrapper = 1001000;

constexpr std::string_view summaryTail = "\n//EOF\n";

// Appends the pieces and the line end.
template <class... Pieces> void row(std::string& text, const Pieces&... pieces) {
    (text.append(std::string_view(pieces)), ...);
    text += '\n';
}

[[noreturn]] void fail(const CppLanguage::SourceSite& site, const char* id,
                       std::initializer_list<CppLanguage::MsgArg> args = {}) {
    CppLanguage::raise<WrapperGeneratorException>(site, id, args);
}

std::string summaryHead() {
    std::string head;
    row(head, "//", allWrappersName, " : generated file");
    row(head);
    row(head, "#pragma once");
    row(head, "#pragma message(\"including ", allWrappersName, "\")");
    row(head);
    return head;
}

// Whether the relative path names one file or folder on every file system walk: no empty,
// "." or ".." piece.
bool plainPath(std::string_view path) {
    for (size_t start = 0;;) {
        const size_t end = std::min(path.find(ORLO::PathSeparator, start), path.size());
        const std::string_view piece = path.substr(start, end - start);
        if (piece.empty() || piece == "." || piece == "..")
            return false;
        if (end == path.size())
            return true;
        start = end + 1;
    }
}

// Names become identifiers by spelling out the characters that cannot stand in one.
ORLO::String mapCharacters(const ORLO::String& name) {
    ORLO::String mapped;
    mapped.reserve(name.size());
    for (const char c : name) {
        switch (c) {
        case ' ':
            mapped += '_';
            break;
        case '@':
            mapped += "At";
            break;
        case '+':
            mapped += "Plus";
            break;
        case '-':
            mapped += "Minus";
            break;
        case '/':
            mapped += "Slash";
            break;
        case '.':
            mapped += "Dot";
            break;
        default:
            mapped += c;
            break;
        }
    }
    return mapped;
}

constexpr std::array<std::pair<std::string_view, std::string_view>, 15> reservedPropertyNames = {{
    {"public", "is_public"},
    {"protected", "is_protected"},
    {"private", "is_private"},
    {"static", "is_static"},
    {"volatile", "is_volatile"},
    {"enum", "is_enum"},
    {"cdecl", "is_cdecl"},
    {"template", "is_template"},
    {"const", "is_const"},
    {"inline", "is_inline"},
    {"virtual", "is_virtual"},
    {"extern", "is_extern"},
    {"operator", "is_operator"},
    {"abstract", "is_abstract"},
    {"namespace", "nsp"},
}};

// Continuation lines of a description stay inside the comment.
ORLO::String commentBody(const ORLO::String& description, std::string_view indent) {
    ORLO::String body;
    for (const char c : description) {
        body += c;
        if (c == '\n') {
            body.append(indent);
            body += "///";
        }
    }
    return body;
}

const char* deprecationMark(QEL::ElementStatus status) {
    return status >= QEL::EsDeprecated ? deprecatedMark.data() : "";
}

// The cached lookup of a generated class, refreshed whenever the model changes.
struct Fetcher {
    std::string_view what, element, function, variable, lookup;
};

void writeFetcher(std::string& text, const std::string& indent, const Fetcher& f) {
    const std::string in1 = indent + '\t', in2 = in1 + '\t';
    row(text, indent, "/// @return fetched ", f.what);
    row(text, indent, "static const ", f.element, " * ", f.function, "()");
    row(text, indent, "{");
    row(text, in1, "static const ", f.element, " * ", f.variable, " = NULL;");
    row(text, in1, "static const QEL::IMetaModel * mm = NULL;");
    row(text, in1, "static std::size_t mmVersion = 0;");
    row(text, in1, "if (mmVersion == 0 || mmVersion != getMetaModel().GetVersion()) ");
    row(text, in1, "{");
    row(text, in2, "mm = &getMetaModel(); ");
    row(text, in2, "mmVersion = mm->GetVersion(); ");
    row(text, in2, f.variable, " = NULL; ");
    row(text, in1, "}");
    row(text, in1, "if (!", f.variable, ") ", f.variable, " = mm->", f.lookup, "(getName());");
    row(text, in1, "return ", f.variable, ";");
    row(text, indent, "}");
    row(text);
}

// Each compound is declared with its class name as its member name.
void writeCompounds(std::string& text, std::string_view title,
                    const std::vector<const ORLO::String*>& names) {
    row(text, "\t\t/// @name ", title);
    row(text, "\t\t/// @{");
    for (const ORLO::String* name : names)
        row(text, "\t\t", *name, " ", *name, ";");
    row(text, "\t\t/// @}");
    row(text);
}

} // namespace

WrapperGenerator::WrapperGenerator(const QEL::IMetaModel* model, const ORLO::String& rootPath,
                                   const ORLO::String& outputDirectory)
    : model(model) {
    if (!model)
        fail(ORLO_HERE, "QEL_NULL_PTR", {{"NULL_ARG", "metamodel"}});
    workDirectory = AppDataManager::TemporaryFolder() + "MetamodelWrapperGeneratedFiles";
    const ORLO::File root(rootPath);
    if (!root.exists())
        fail(ORLO_HERE, "FILEOP_INVALID_PATH", {{"PATH", rootPath}});
    this->rootPath = root.getAbsolutePath();
    while (!this->rootPath.empty() && ORLO::isPathSeparator(this->rootPath.back()))
        this->rootPath.pop_back();
    this->outputDirectory = outputDirectory;
}

WrapperGenerator::~WrapperGenerator() = default;

void WrapperGenerator::Build() {
    Start();
    for (const QEL::ICategory* category : model->GetCategories())
        BuildCategoryAndBases(category);
    End();
}

struct WrapperGenerator::Rendering {
    RenderTarget& target;
    std::set<std::string, std::less<>> folders, files;
    bool faithful = true;
};

bool WrapperGenerator::Render(RenderTarget& target) {
    Rendering state{target, {}, {}};
    rendering = &state;
    struct Detach {
        Rendering*& rendering;
        ~Detach() { rendering = nullptr; }
    } detach{rendering};
    writeSummary(summaryHead());
    for (const QEL::ICategory* category : model->GetCategories())
        BuildCategoryAndBases(category);
    writeSummary(summaryTail);
    for (const std::string& folder : state.folders)
        if (!plainPath(folder) || state.files.count(folder))
            state.faithful = false;
    for (const std::string& file : state.files)
        if (!plainPath(file))
            state.faithful = false;
    return state.faithful;
}

void WrapperGenerator::makeFolder(const ORLO::String& relative) {
    if (rendering) {
        // Build makes the folders above it too.
        for (size_t end = relative.find(ORLO::PathSeparator); end != std::string::npos;
             end = relative.find(ORLO::PathSeparator, end + 1))
            if (const std::string above = relative.substr(0, end);
                rendering->folders.insert(above).second)
                rendering->target.folder(above);
        if (rendering->folders.insert(relative).second)
            rendering->target.folder(relative);
        return;
    }
    if (FileOp::createDirectory(workDirectory + ORLO::PathSeparator + relative) != 0)
        fail(ORLO_HERE, "MM_WRP_GEN_FAILED");
}

void WrapperGenerator::writeSummary(std::string_view text) {
    if (rendering)
        rendering->target.text(std::string(allWrappersName), text);
    else
        allWrappersFile << text;
}

void WrapperGenerator::openHeader(const ORLO::String& include) {
    if (rendering) {
        // On disk the summary's buffered text and the header's would overwrite each other.
        if (include == allWrappersName)
            rendering->faithful = false;
        rendering->files.insert(include);
        return;
    }
    const ORLO::String path = workDirectory + ORLO::PathSeparator + include;
    categoryFile.open(path, std::ios::out | std::ios::app);
    if (!categoryFile.is_open())
        fail(ORLO_HERE, "QEL_MM_DUMP_FILE_ERR", {{"FILE", path}});
    categoryFile.clear();
}

void WrapperGenerator::writeHeader(const ORLO::String& include, const std::string& text) {
    if (rendering) {
        rendering->target.text(include, text);
        return;
    }
    categoryFile << text;
    categoryFile.close();
}

void WrapperGenerator::Start() {
    if (FileOp::createDirectory(outputDirectory) != 0 ||
        FileOp::createDirectory(workDirectory) != 0 ||
        FileOp::deleteFiles(workDirectory + ORLO::PathSeparator + "*.*") != 0)
        fail(ORLO_HERE, "MM_WRP_GEN_FAILED");
    const ORLO::String path = workDirectory + ORLO::PathSeparator + ORLO::String(allWrappersName);
    allWrappersFile.open(path, std::ios::out | std::ios::trunc);
    if (!allWrappersFile.is_open())
        fail(ORLO_HERE, "QEL_MM_DUMP_FILE_ERR", {{"FILE", path}});
    writeSummary(summaryHead());
}

void WrapperGenerator::End() {
    writeSummary(summaryTail);
    allWrappersFile.close();
    if (FileOp::mergeDirectories(outputDirectory, workDirectory) != 0)
        fail(ORLO_HERE, "MM_WRP_GEN_FAILED");
}

void WrapperGenerator::BuildCategoryAndBases(const QEL::ICategory* category) {
    for (const QEL::ICategory* ancestor : category->GetAllCategories())
        if (ancestor != category)
            BuildCategory(ancestor);
    BuildCategory(category);
}

const ORLO::String& WrapperGenerator::getNormalizedCatName(const QEL::ICategory* category) {
    auto found = normalizedCategoryNames.find(category);
    if (found != normalizedCategoryNames.end())
        return found->second;
    ORLO::String name = mapCharacters(category->GetName());
    if (name == "class" || name == "ERROR" || name == "DOMAIN")
        name = "ORLO_" + name;
    return normalizedCategoryNames.emplace(category, std::move(name)).first->second;
}

const ORLO::String& WrapperGenerator::getNormalizedPropName(const QEL::IProperty* property) {
    auto found = normalizedPropertyNames.find(property);
    if (found != normalizedPropertyNames.end())
        return found->second;
    ORLO::String name = mapCharacters(property->GetShortName());
    for (const auto& [reserved, replacement] : reservedPropertyNames)
        if (name == reserved)
            name = ORLO::String(replacement);
    return normalizedPropertyNames.emplace(property, std::move(name)).first->second;
}

const ORLO::String& WrapperGenerator::getWrapperInclFile(const QEL::ICategory* category) {
    auto found = wrapperIncludeFiles.find(category);
    if (found != wrapperIncludeFiles.end())
        return found->second;
    ORLO::String include;
    if (const QEL::IAttribute* root = category->GetAttribute("ROOT_PATH")) {
        // The value lies below rootPath; what follows it and its separator is the sub-folder.
        ORLO::String relative = ORLO::withPlatformSeparators(
            root->GetStringValue().subString(int(rootPath.size()) + 1));
        if (!relative.empty()) {
            makeFolder(relative);
            include = relative + ORLO::PathSeparator;
        }
    }
    include += getNormalizedCatName(category) + ".h";
    return wrapperIncludeFiles.emplace(category, std::move(include)).first->second;
}

void WrapperGenerator::BuildCategory(const QEL::ICategory* category) {
    if (!builtCategories.insert(category).second)
        return;
    if (category->GetId() >= firstIdWithoutWrapper)
        return;
    const ORLO::String& norm = getNormalizedCatName(category);
    const ORLO::String& include = getWrapperInclFile(category);

    std::vector<const QEL::ICategory*> ancestors;
    for (const QEL::ICategory* ancestor : category->GetAllCategories())
        if (ancestor != category)
            ancestors.push_back(ancestor);
    std::sort(ancestors.begin(), ancestors.end(),
              [](const QEL::ICategory* a, const QEL::ICategory* b) {
                  return a->GetName() < b->GetName();
              });
    const QEL::PropertySet& local = category->GetLocalProperties();
    std::vector<const QEL::IProperty*> properties(local.begin(), local.end());
    std::stable_sort(properties.begin(), properties.end(),
                     [](const QEL::IProperty* a, const QEL::IProperty* b) {
                         return a->GetShortName() < b->GetShortName();
                     });

    std::vector<const ORLO::String*> ancestorNames, propertyNames;
    for (const QEL::ICategory* ancestor : ancestors)
        ancestorNames.push_back(&getNormalizedCatName(ancestor));
    for (const QEL::IProperty* property : properties)
        propertyNames.push_back(&getNormalizedPropName(property));

    std::string summaryRow;
    row(summaryRow, "#include \"", include, "\"");
    writeSummary(summaryRow);
    openHeader(include);

    const bool isType = category->IsType();
    const std::string_view kind = isType ? "type" : "category";
    const std::string_view base = isType ? "QEL::TypeWrapper" : "QEL::CategoryWrapper";
    std::string up;
    for (const char c : include)
        if (ORLO::isPathSeparator(c))
            up += "../";
    const std::string id = std::to_string(category->GetId());

    std::string& text = categoryText;
    text.clear();
    row(text, "//", include, " : generated file");
    row(text);
    row(text, "#pragma once");
    row(text);
    row(text, "#include <QEL/InstanceWrapper.h>");
    for (const QEL::ICategory* ancestor : ancestors)
        row(text, "#include \"", up, getWrapperInclFile(ancestor), "\"");
    row(text);
    row(text, "namespace WRAPPER_NPS");
    row(text, "{");

    row(text, "\t", rule);
    row(text, "\t/// Wrapper over ", kind, " \"", category->GetName(), "\"");
    row(text, "\t/// Description : ", commentBody(category->GetDescription(), "\t"));
    if (category->GetStatus() >= QEL::EsDeprecated)
        row(text, "\t/// @deprecated");
    row(text, "\t", rule);
    row(text, "\tclass ", deprecationMark(category->GetStatus()), norm, " : public ", base);
    row(text, "\t{");
    row(text, "\tpublic:");
    for (const QEL::IProperty* property : properties)
        BuildProperty(property, norm);
    row(text);

    row(text, "\t\t/// @name Life cycle");
    row(text, "\t\t/// @{");
    row(text);
    row(text, "\t\t/// @param\t\tinst\t\tinstance to be wrapped -OR- its id");
    row(text, "\t\t/// @param\t\tcheck_type\twhether instance type must be validated against "
              "wrapper category");
    row(text, "\t\t/// @pre\t\tgiven instance is valid");
    row(text, "\t\t/// @note\t\tcreating a wrapper does not create an instance");
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 3> constructors = {{
        {"const QEL::IInstance *", "getCInstance()"},
        {"QEL::IInstance *", "getInstance()"},
        {"const QEL::SId &", "getInstance()"},
    }};
    for (const auto& [parameter, access] : constructors) {
        row(text, "\t\t", norm, "(", parameter, " inst,bool check_type = true)");
        row(text, "\t\t\t: ", base, "(inst,check_type ? getCategory() : NULL)");
        for (const ORLO::String* name : ancestorNames)
            row(text, "\t\t\t, ", *name, "(", access, ",false)");
        for (const ORLO::String* name : propertyNames)
            row(text, "\t\t\t, ", *name, "(", access, ")");
        row(text, "\t\t{}");
    }
    row(text, "\t\t/// @note deleting a wrapper does not delete its wrapped instance");
    row(text, "\t\tvirtual ~", norm, "() {} ");
    row(text, "\t\t/// @}");
    row(text);

    row(text, "\t\t/// @name Static methods");
    row(text, "\t\t/// @{");
    row(text);
    row(text, "\t\t/// @return category or type name");
    row(text, "\t\tstatic const ORLO::String & getName() { static ORLO::String name = \"",
        category->GetName(), "\"; return name; }");
    row(text);
    row(text, "\t\t/// @return category or type id");
    row(text, "\t\tstatic int getId() { return ", id, "; }");
    row(text);
    // A type fetches itself as a type; a category has no instances to make.
    writeFetcher(text, "\t\t",
                 isType
                     ? Fetcher{"type", "QEL::IMetaType", "getType", "typ", "GetMetaType"}
                     : Fetcher{"category", "QEL::ICategory", "getCategory", "cat", "GetCategory"});
    if (isType) {
        row(text, "\t\t/// @return fetched category");
        row(text, "\t\tstatic const QEL::ICategory * getCategory() { return getType(); }");
        row(text);
        row(text, "\t\t/// @return a fresh instance of current wrapper type");
        row(text, "\t\tstatic QEL::IInstance * newInstance() { return "
                  "newInstanceInternal(getType()); }");
        row(text);
    }

    writeCompounds(text, "Recursively inherited category compounds", ancestorNames);
    writeCompounds(text, "Local property compounds", propertyNames);
    row(text, "\t\tprivate : virtual const QEL::ICategory * getCategoryInternal() const { return "
              "getCategory(); }");
    row(text);
    row(text, "\t};");
    row(text, "};");
    row(text);
    row(text, "//EOF");
    row(text);

    writeHeader(include, text);
}

void WrapperGenerator::BuildProperty(const QEL::IProperty* property,
                                     const ORLO::String& categoryName) {
    // Names the wrapper base after the property's type; a list is its element's name and
    // "List".
    class CPropertyTypeBuilder : public QEL::IPropertyTypeVisitor {
    public:
        ORLO::String kind;
        void Visit(const QEL::CListPropertyType& type) override {
            type.GetElementType().Accept(*this);
            kind += "List";
        }
        void Visit(const QEL::CBookmarkPropertyType&) override { kind = "Bookmark"; }
        void Visit(const QEL::CReferencePropertyType&) override { kind = "Reference"; }
        void Visit(const QEL::CDateTimePropertyType&) override { kind = "DateTime"; }
        void Visit(const QEL::CStringPropertyType&) override { kind = "String"; }
        void Visit(const QEL::CIntegerPropertyType&) override { kind = "Integer"; }
    };
    CPropertyTypeBuilder builder;
    property->GetPropertyType()->Accept(builder);

    const ORLO::String& prop = getNormalizedPropName(property);
    const ORLO::String& full = property->GetName();
    const ORLO::String base = "QEL::" + builder.kind + "PropertyWrapper";
    std::string& text = categoryText;
    row(text);
    row(text, "\t\t", rule);
    row(text, "\t\t/// Wrapper over property \"", full, "\"");
    row(text, "\t\t/// Description : ", commentBody(property->GetDescription(), "\t\t"));
    row(text, "\t\t/// Type : ", builder.kind);
    row(text, "\t\t/// Transient : ", property->IsTransient() ? "yes" : "no");
    if (property->GetStatus() >= QEL::EsDeprecated)
        row(text, "\t\t/// @deprecated");
    row(text, "\t\t", rule);
    row(text, "\t\tclass ", deprecationMark(property->GetStatus()), prop, " : public ", base);
    row(text, "\t\t{");
    row(text, "\t\tpublic:");
    row(text, "\t\t\t/// A typedef giving access to the declaring category");
    row(text, "\t\t\ttypedef ", categoryName, " DeclaringCategory;");
    row(text);

    row(text, "\t\t\t/// @name Life cycle");
    row(text, "\t\t\t/// @{");
    row(text);
    row(text, "\t\t\t", prop, "(const QEL::InstanceWrapper & iw) : ", base, "(iw) {}");
    row(text, "\t\t\tvirtual ~", prop, "() {}");
    row(text, "\t\t\t/// @}");
    row(text);

    row(text, "\t\t\t/// @name Static methods");
    row(text, "\t\t\t/// @{");
    row(text);
    row(text, "\t\t\t/// @return property qualified name ");
    row(text, "\t\t\tstatic const ORLO::String & getName() { static ORLO::String name = \"", full,
        "\"; return name; }");
    row(text);
    row(text, "\t\t\t/// @return property id");
    row(text, "\t\t\tstatic int getId() { return ", std::to_string(property->GetId()), "; }");
    row(text);
    writeFetcher(text, "\t\t\t",
                 {"property", "QEL::IProperty", "getProperty", "prop", "GetProperty"});
    row(text, "\t\t\t/// @}");
    row(text);
    row(text, "\t\t\tprivate : virtual const QEL::IProperty * getPropertyInternal() const { return "
              "getProperty(); }");
    row(text);
    row(text, "\t\t};");
}

} // namespace MetaModel
