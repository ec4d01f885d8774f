#pragma once

#include "interfaces/imetamodel.h"
#include "metamodel/metamodelexceptions.h"

#include <map>
#include <set>
#include <string>
#include <utility>

class IUniqueConnection;

namespace MetaModel {

// The ids and names of a meta-model's categories, types and properties, read straight from
// documents or from the repository without building a model: enough to tell before an
// installation or a migration whether a piece of meta-model can live beside what exists.
// Reads only add; a clash with what an earlier read brought counts as a duplicate.
class MetaModelFragment {
public:
    MetaModelFragment() = default;
    MetaModelFragment(const MetaModelFragment&) = default;
    MetaModelFragment& operator=(const MetaModelFragment&) = default;
    ~MetaModelFragment() = default;

    // Every document at or under the path.
    void readFromPath(std::string const& path);
    // Nothing happens when the path is no file.
    void readFromFile(std::string const& file);
    // A document that does not parse adds nothing and is not reported. A non-numeric "id",
    // "rid" or "file_no" throws boost::bad_lexical_cast, leaving what was read so far.
    void readFromContent(std::string const& content, std::string const& file);
    // The categories and types of the repository's final tables, in the schema of the
    // connection's setting "27". Throws CMetaModelReaderException when the request fails.
    void readFromSchema(IUniqueConnection* connection);

    // Nothing of this fragment exists in the model or the other fragment yet.
    bool isCompatibleWith(QEL::IMetaModel const* model) const;
    bool isCompatibleWith(MetaModelFragment const& other) const;
    // This fragment may replace `other`, the installed one: every name that `other` knows
    // keeps its id. The text has one line for each name that does not.
    std::pair<bool, std::string> isMigrationCompatibleWith(MetaModelFragment const& other) const;

    bool isCoherent() const { return coherent; }
    bool isEmpty() const { return empty; }

    // What was read, for callers that show the clashes and not only whether there are any.
    const std::set<int>& getIds() const { return ids; }
    const std::set<std::string>& getNames() const { return names; }
    const std::set<int>& getPropertyIds() const { return propertyIds; }
    const std::map<std::string, int>& getNameToId() const { return nameToId; }
    const std::map<int, std::string>& getIdToFile() const { return idToFile; }

    // A plain record: the fields are open to callers as well.
    bool coherent = true;
    bool empty = true;
    std::set<int> ids;
    std::set<std::string> names;
    std::set<int> propertyIds;
    std::map<std::string, int> nameToId;
    std::map<int, std::string> idToFile;
};

} // namespace MetaModel
