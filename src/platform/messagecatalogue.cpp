#include "platform/messagecatalogue.h"

#include "cpplanguage/appmsg.h"

#include <algorithm>

namespace AppMsgManager {

namespace {

using CppLanguage::SeverityError;
using CppLanguage::SeverityInfo;
using CppLanguage::SeverityWarning;

// Placeholders read "{NAME}". A part in square brackets is dropped by the formatter unless
// every placeholder in it has a non-empty value: some ids are raised with an argument at one
// site and without it at another, and some arguments are often empty.
//
// Kept in ascending byte order of the id so that a lookup is a binary search; the
// static_assert below guards the order.
constexpr MessageDefinition catalogue[] = {
    {"FILEOP_CANNOT_COMPARE_FILE", SeverityError,
     "The files '{FILE1}' and '{FILE2}' cannot be compared: one of them cannot be opened."},
    {"FILEOP_CANNOT_COPY", SeverityError, "'{SRC}' cannot be copied to '{DST}'."},
    {"FILEOP_CANNOT_CREATE_DIR", SeverityError, "The directory '{DIR}' cannot be created."},
    {"FILEOP_CANNOT_DELETE", SeverityError, "'{ARG}' cannot be deleted."},
    {"FILEOP_CANNOT_MOVE", SeverityError, "'{SRC}' cannot be moved to '{DST}'."},
    {"FILEOP_CANNOT_WRITE", SeverityError, "'{FILE}' cannot be written: {REASON}."},
    {"FILEOP_INVALID_PATH", SeverityError, "The path '{PATH}' does not exist."},
    {"FILEOP_OUTPUT_HOLDS_INPUT", SeverityError,
     "The output folder '{FOLDER}' holds the input '{INPUT}', which the run would remove as "
     "no file of its own; name another output folder."},
    {"FILEOP_OUTPUT_IS_INPUT", SeverityError,
     "The output '{FILE}' is the input '{INPUT}' itself, which writing would destroy; name "
     "another output."},
    {"MM_DOCUMENT_CHANGED", SeverityError,
     "The documents changed after the transfer had checked them ('{FILE}' was replaced, added "
     "or taken away); the repository was left as it was: run the transfer again."},
    {"MM_GRAPH_DOT_FAILED", SeverityError,
     "Graphviz's 'dot' could not draw the graph ({CAUSE}); the DOT text is what 'metamodel graph "
     "--format dot' writes."},
    {"MM_GRAPH_DOT_MISSING", SeverityError,
     "Graphviz's 'dot' program is needed for SVG and was not found[ ({CAUSE})]; install the "
     "'graphviz' package, or write DOT with --format dot."},
    {"MM_OUT_OF_MEMORY", SeverityError,
     "The run ran out of memory and was stopped before it had finished."},
    {"MM_SEVERAL_LANGUAGES", SeverityError,
     "Category '{CATEGORY_NAME}' derives from more than one language: {LANGUAGES_CATEGORIES}."},
    {"MM_WRP_GEN_FAILED", SeverityError,
     "Generating the wrapper headers failed: a folder could not be created, cleaned or merged "
     "into the output folder."},
    {"MM_WRP_ROOT_OUTSIDE", SeverityError,
     "Category '{CAT_NAM}' lies in '{PATH}', outside the wrapper root '{ROOT}': its header would "
     "have no place in the output tree."},
    {"QEL_DB_CONNECT_ERR", SeverityError,
     "The repository database '{CONNECTION}' cannot be used[: {CAUSE}]."},
    {"QEL_DB_PROC_ERR", SeverityError, "The repository procedure call '{CALL}' failed[: {CAUSE}]."},
    {"QEL_DB_REQ_ERR", SeverityError, "The repository request '{QUERY}' failed[: {CAUSE}]."},
    {"QEL_DB_UNSUPPORTED_SERVER", SeverityError,
     "The database server kind of the repository connection is not supported."},
    {"QEL_MM_CIRCULAR_INHERITANCE", SeverityError,
     "Category '{CATEGORY_NAME}' inherits from itself through a circuit of inheritance."},
    {"QEL_MM_CONFLICT_CAT_ID", SeverityError,
     "Category '{NAM}' has the id {ID}, which another category or type already has."},
    {"QEL_MM_CONFLICT_CAT_NAM", SeverityError,
     "Category '{NAM}' (id {ID}) is already declared as a type or fully declared as a category; "
     "this declaration is dropped."},
    {"QEL_MM_CONFLICT_PROP_ID", SeverityError,
     "Property '{NAM}' has the id {ID}, which another property already has."},
    {"QEL_MM_CONFLICT_PROP_NAM", SeverityError,
     "Property '{NAM}' (id {ID}) is declared twice in the same category or type; the second "
     "declaration is dropped."},
    {"QEL_MM_CONFLICT_TYP_ID", SeverityError,
     "Type '{NAM}' has the id {ID}, which another category or type already has."},
    {"QEL_MM_CONFLICT_TYP_NAM", SeverityError,
     "Type '{NAM}' (id {ID}) is already declared as a category or fully declared as a type; "
     "this declaration is dropped."},
    {"QEL_MM_DEFAULT_TREE_DEF", SeverityInfo,
     "Category '{CAT_NAM}' does not say how tree '{TREE_NAM}' walks through it; the default walk "
     "is used."},
    {"QEL_MM_DESC_TAG_HAS_CHILD", SeverityError,
     "A 'description' element holds text only; it cannot contain an element."},
    {"QEL_MM_DESC_TAG_NOT_FIRST", SeverityError,
     "The first child of '{TAG}' must be its 'description' element."},
    // The tool's own, from its listing of the documents before they are read.
    {"QEL_MM_DOCUMENT_TWICE", SeverityError,
     "The document '{FILE}' is named twice, as '{FIRST}' and as '{SECOND}'; name each document "
     "once."},
    {"QEL_MM_DUMP_FILE_ERR", SeverityError,
     "The output file '{FILE}' cannot be opened for writing[: {REASON}]."},
    {"QEL_MM_DUPLICATE_ATTRIBUTE", SeverityError,
     "Attribute '{NAME}' is given more than once on '{CTXT}'; the first value is kept."},
    {"QEL_MM_EMPTY_ID", SeverityError, "An element has an empty 'id' or 'rid' attribute."},
    {"QEL_MM_EXCLUSIVE_ATTR", SeverityError,
     "The attributes '{ATTR1}' and '{ATTR2}' exclude each other, but {TAG} has both."},
    {"QEL_MM_EXIST_ERR", SeverityError, "The meta-model is not valid: {NUMBER} fault(s) found."},
    {"QEL_MM_FOLDER_OPTION_NOT_FOUND", SeverityError,
     "The folder '{PATH}' given with {OPTION} does not exist."},
    {"QEL_MM_FRAGMENT_DUPLICATE", SeverityError,
     "The {WHAT} '{KEY}' is defined twice[, first in '{OTHER_FILE}']."},
    {"QEL_MM_FRAGMENT_ID_CHANGED", SeverityError,
     "'{NAME}' would change its id from {INSTALLED_ID} to {NEW_ID}[ (installed by "
     "'{INSTALLED}')]."},
    {"QEL_MM_FRAGMENT_ID_CLASH", SeverityError,
     "The category or type id {ID}[ of '{NAME}'] is already installed[ for '{INSTALLED_NAME}'][ "
     "by '{INSTALLED}']."},
    {"QEL_MM_FRAGMENT_INCOHERENT", SeverityError,
     "The document defines a category or type id, a category or type name or a property id "
     "twice."},
    {"QEL_MM_FRAGMENT_NAME_CLASH", SeverityError,
     "The category or type '{NAME}' is already installed[ with the id {INSTALLED_ID}][ by "
     "'{INSTALLED}']."},
    {"QEL_MM_FRAGMENT_NOT_A_NUMBER", SeverityError,
     "An 'id', 'rid' or 'file_no' attribute holds something other than a whole number."},
    {"QEL_MM_FRAGMENT_PROP_ID_CLASH", SeverityError,
     "The property id {PROP_ID} is already installed[ by '{INSTALLED}']."},
    {"QEL_MM_INFSUBDUPLICATE", SeverityError,
     "Property '{PROPERTY_NAME}' has the same 'INF_TYPE' and 'INF_SUB_TYPE' pair as property "
     "'{FIRST_PROPERTY_NAME}'."},
    {"QEL_MM_INFSUBNOINTEGER", SeverityError,
     "The attributes 'INF_TYPE' and 'INF_SUB_TYPE' of property '{PROPERTY_NAME}' must both be "
     "integers."},
    {"QEL_MM_INPUT_UNREADABLE", SeverityError, "'{PATH}' cannot be read: {CAUSE}."},
    {"QEL_MM_INVALID_ATTR_TYP_USAGE", SeverityWarning,
     "Attribute '{ATTR_NAM}' is read as a value of the wrong kind (integer or string)."},
    {"QEL_MM_INVALID_CHARCNAME", SeverityWarning,
     "Type name '{NAME}' holds characters other than letters, digits and '_'."},
    {"QEL_MM_INVALID_CHARPNAME", SeverityWarning,
     "Property name '{NAME}' in '{CTXT}' holds characters other than letters, digits and '_'."},
    {"QEL_MM_INVALID_FILE_LEVEL", SeverityError,
     "File level '{LEVEL}' is not one of 'core', 'builtin', 'prepackaged' and 'client'."},
    {"QEL_MM_INVALID_PROP_CARD", SeverityError,
     "Property '{NAME}' in '{CTXT}' has invalid cardinalities: minimum {MIN_CARD}, maximum "
     "{MAX_CARD}."},
    {"QEL_MM_INVALID_PROP_MERGE", SeverityError,
     "Property '[{CTXT}.]{PROP_NAM}' has the unknown merge '{PROP_MRG}'."},
    {"QEL_MM_INVALID_PROP_TYP", SeverityError,
     "Property '[{CTXT}.]{PROP_NAM}' has an unknown type: neither a property type word nor the "
     "name of a category or type."},
    {"QEL_MM_INVALID_TREE_ITEM", SeverityError,
     "The walk of tree '{TREE_NAM}' in category '{CAT_NAM}' lists '{ITEM}', which is not a "
     "parent category or a local reference property, or is listed twice."},
    {"QEL_MM_MISSING_ATTR", SeverityError, "The attribute '{ATTR}' is missing from {TAG}."},
    {"QEL_MM_MISSING_BOTH_ATTR", SeverityError,
     "One of the attributes '{ATTR1}' and '{ATTR2}' is required, but {TAG} has neither."},
    {"QEL_MM_NOINFSUBTOGETHER", SeverityError,
     "Property '{PROPERTY_NAME}' has only one of the attributes 'INF_TYPE' and 'INF_SUB_TYPE'."},
    {"QEL_MM_NOT_A_DOCUMENT_NAME", SeverityError,
     "'{PATH}' is not read: only names ending in 'MetaModel.xml', in that case, are documents."},
    {"QEL_MM_ONLY_PARTIAL_DECL", SeverityError,
     "Category '{UNKNOWN}' has partial declarations only and no full declaration[ (in "
     "'{LOCATION}')]."},
    {"QEL_MM_RESERVED_CNAME", SeverityWarning,
     "Type name '{NAME}' begins with the reserved prefix 'ORLO_'."},
    {"QEL_MM_RESERVED_PNAME", SeverityError,
     "Property name '{NAME}' in '{CTXT}' is reserved for a property with another id."},
    // The tool's own: a folder named on the command line that is not there.
    {"QEL_MM_ROOT_EMPTY", SeverityWarning,
     "The folder '{PATH}' holds no document: no file under it has a name ending in "
     "'MetaModel.xml'."},
    {"QEL_MM_ROOT_NOT_FOUND", SeverityError, "'{PATH}' is neither a folder nor a document."},
    {"QEL_MM_SAX_PARSE_EXCEPTION", SeverityError, "XML parse error: {CAUSE}"},
    {"QEL_MM_TREE_CIRCUIT", SeverityError,
     "In tree '{CATEGORY_NAME}', the parents of type '{TYPE_NAME}' form a circuit or meet again "
     "along two paths."},
    {"QEL_MM_TWICE_INHERITANCE", SeverityError,
     "'{CATEGORY}' inherits '{INHERITED}' more than once in one declaration."},
    {"QEL_MM_UNDEF_CAT_ID", SeverityError, "No category or type has the id {CAT_ID}."},
    {"QEL_MM_UNDEF_CAT_NAM", SeverityError, "Category '{CAT_NAM}' is not defined."},
    {"QEL_MM_UNDEF_PROP_ID", SeverityError, "No property has the id {PROP_ID}."},
    {"QEL_MM_UNDEF_PROP_NAM", SeverityError, "Property '{PROP_NAM}' is not defined."},
    {"QEL_MM_UNDEF_TYP_ID", SeverityError, "No type has the id {TYP_ID}."},
    {"QEL_MM_UNDEF_TYP_NAM", SeverityError, "Type '{TYP_NAM}' is not defined."},
    {"QEL_MM_UNEXPECTED_ATTR", SeverityError, "The attribute '{ATTR}' is not allowed on {TAG}."},
    {"QEL_MM_UNEXPECTED_TAG", SeverityError, "The element {TAG} is not allowed in '{PARENT}'."},
    {"QEL_MM_UNKNOWN_EXTEND", SeverityError,
     "'{CTXT}' inherits '{UNKNOWN}', which is not a declared category[ (link in "
     "'{LOCATION}')]."},
    {"QEL_MM_UNKNOWN_TREE_CAT", SeverityError,
     "A tree link of type '{CTXT}' names the tree '{UNKNOWN}', which is not a declared "
     "category[ (link in '{LOCATION}')]."},
    {"QEL_MM_UNKNOWN_TREE_PARENT", SeverityError,
     "A tree link of type '{CTXT}' names the parent '{UNKNOWN}', which is not a declared "
     "type[ (link in '{LOCATION}')]."},
    {"QEL_MM_XML2DB_ERR", SeverityError,
     "Transferring the meta-model documents into the repository failed."},
    {"QEL_MM_XML_FILE_ERR", SeverityError, "The meta-model document '{FILE}' cannot be read."},
    {"QEL_MM_XML_OUTPUT_FILE_ERR", SeverityError,
     "The XML output file '{FILE}' cannot be opened for writing[: {REASON}]."},
    {"QEL_NULL_PTR", SeverityError, "The argument '{NULL_ARG}' must not be null."},
};

constexpr std::string_view idOf(const MessageDefinition& definition) {
    return definition.id;
}

static_assert(std::ranges::adjacent_find(catalogue, std::ranges::greater_equal{}, idOf) ==
                  std::ranges::end(catalogue),
              "message ids must be unique and in ascending order");

} // namespace

std::span<const MessageDefinition> allMessageDefinitions() {
    return catalogue;
}

const MessageDefinition* findMessageDefinition(std::string_view id) {
    const auto* found = std::ranges::lower_bound(catalogue, id, {}, idOf);
    return found != std::ranges::end(catalogue) && idOf(*found) == id ? found : nullptr;
}

} // namespace AppMsgManager
