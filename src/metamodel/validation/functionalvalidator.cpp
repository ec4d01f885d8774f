#include "metamodel/validation/functionalvalidator.h"

#include "interfaces/iattribute.h"
#include "interfaces/iproperty.h"
#include "interfaces/positionindex.h"
#include "metamodel/metamodelexceptions.h"
#include "platform/messages.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace MetaModel {

namespace {

const ORLO::String lanternTree = "LanternTree";
const ORLO::String parameterizeTree = "ParameterizeTree";
const ORLO::String languageRoot = "CsvLanguage";
const ORLO::String infType = "INF_TYPE";
const ORLO::String infSubType = "INF_SUB_TYPE";
const ORLO::String astAttribute = "AST";

// A model has no document to point at.
void fault(const char* id, std::initializer_list<CppLanguage::MsgArg> args) {
    CppLanguage::reportAt(ORLO_HERE, {}, id, args);
}

using TypeSet = std::set<const QEL::IMetaType*>;

// The walked set is shared by every branch and never shrinks, so a type reached along two
// parent paths counts like a loop: in these trees upward paths may not meet again.
bool walkReachesTwice(const QEL::IMetaType* type, const QEL::ICategory* tree, TypeSet& walked) {
    if (!walked.insert(type).second)
        return true;
    for (const QEL::IMetaType* parent : type->GetTreeParents(tree))
        if (walkReachesTwice(parent, tree, walked))
            return true;
    return false;
}

// The first property of each pair of INF_TYPE and INF_SUB_TYPE values.
class FirstOfPair {
public:
    // The property that came with the pair first, or null when `property` is the first.
    const QEL::IProperty* claim(int type, int subType, const QEL::IProperty* property) {
        const std::uint64_t key =
            (std::uint64_t(std::uint32_t(type)) << 32) | std::uint32_t(subType);
        const auto hash = std::uint32_t((key * 0x9E3779B97F4A7C15ULL) >> 32);
        const std::uint32_t at = index_.find(
            hash, [&](std::uint32_t position) { return claims_[position].first == key; });
        if (at != QEL::PositionIndex::none)
            return claims_[at].second;
        index_.add(hash, std::uint32_t(claims_.size()));
        claims_.emplace_back(key, property);
        return nullptr;
    }

private:
    std::vector<std::pair<std::uint64_t, const QEL::IProperty*>> claims_;
    QEL::PositionIndex index_;
};

} // namespace

void FunctionalValidator::validate(const QEL::IMetaModel* model) {
    if (isValid(model))
        return;
    CppLanguage::raiseAt<FunctionalMetaModelException>(ORLO_HERE, {}, "QEL_MM_EXIST_ERR",
                                                       {{"NUMBER", errorCount_}});
}

bool FunctionalValidator::isValid(const QEL::IMetaModel* model) {
    errorCount_ = 0;
    for (const ORLO::String* treeName : {&lanternTree, &parameterizeTree})
        if (const QEL::ICategory* tree = model->GetCategory(*treeName, false))
            if (!treeHasNoCircuit(model, tree))
                ++errorCount_;
    if (inheritanceHasCircuit(model))
        ++errorCount_;
    if (!infTypInfSubTypAreCorrect(model))
        ++errorCount_;
    if (!languageInheritanceAreCorrect(model))
        ++errorCount_;
    if (!astIsCorrect(model))
        ++errorCount_;
    return errorCount_ == 0;
}

bool FunctionalValidator::treeHasNoCircuit(const QEL::IMetaModel* model,
                                           const QEL::ICategory* treeCategory) const {
    TypeSet seen;
    for (const QEL::IMetaType* type : model->GetMetaTypes()) {
        if (!seen.insert(type).second)
            continue;
        TypeSet walked;
        if (walkReachesTwice(type, treeCategory, walked)) {
            fault("QEL_MM_TREE_CIRCUIT",
                  {{"CATEGORY_NAME", treeCategory->GetName()}, {"TYPE_NAME", type->GetName()}});
            return false;
        }
        seen.insert(walked.begin(), walked.end());
    }
    return true;
}

bool FunctionalValidator::inheritanceHasCircuit(const QEL::IMetaModel* model) const {
    std::set<const QEL::ICategory*> clean;
    for (const QEL::ICategory* category : model->GetCategories()) {
        std::set<const QEL::ICategory*> path;
        if (hasCircuit(category, path, clean))
            return true;
    }
    return false;
}

// Each branch sees only the categories above it on its own way down, so only a true circuit
// is found and a diamond of inheritance stays legal. A category whose whole ancestry was
// walked without a circuit cannot close one on any later way down either (a circuit through
// it would have shown from it), so it is not walked again: that keeps the walk linear where
// the ways down multiply.
bool FunctionalValidator::hasCircuit(const QEL::ICategory* category,
                                     std::set<const QEL::ICategory*>& path,
                                     std::set<const QEL::ICategory*>& clean) const {
    if (path.count(category) != 0) {
        fault("QEL_MM_CIRCULAR_INHERITANCE", {{"CATEGORY_NAME", category->GetName()}});
        return true;
    }
    if (clean.count(category) != 0)
        return false;
    path.insert(category);
    for (const QEL::ICategory* parent : category->GetLocalCategories())
        if (hasCircuit(parent, path, clean))
            return true;
    path.erase(category);
    clean.insert(category);
    return false;
}

bool FunctionalValidator::infTypInfSubTypAreCorrect(const QEL::IMetaModel* model) const {
    bool correct = true;
    FirstOfPair pairs;
    for (const QEL::IProperty* property : model->GetProperties()) {
        const QEL::IAttribute* type = property->GetAttribute(infType);
        const QEL::IAttribute* subType = property->GetAttribute(infSubType);
        if (!type && !subType)
            continue;
        if (!type || !subType) {
            fault("QEL_MM_NOINFSUBTOGETHER", {{"PROPERTY_NAME", property->GetName()}});
            correct = false;
        } else if (!type->IsInteger() || !subType->IsInteger()) {
            fault("QEL_MM_INFSUBNOINTEGER", {{"PROPERTY_NAME", property->GetName()}});
            correct = false;
        } else {
            const QEL::IProperty* first =
                pairs.claim(type->GetIntegerValue(), subType->GetIntegerValue(), property);
            if (first) {
                fault("QEL_MM_INFSUBDUPLICATE", {{"FIRST_PROPERTY_NAME", first->GetName()},
                                                 {"PROPERTY_NAME", property->GetName()}});
                correct = false;
            }
        }
    }
    return correct;
}

bool FunctionalValidator::languageInheritanceAreCorrect(const QEL::IMetaModel* model) const {
    const QEL::ICategory* root = model->GetCategory(languageRoot, false);
    if (!root)
        return true;
    bool correct = true;
    // A schema has few languages and may have thousands of ancestors per category: asking
    // each category about each language spares the lists of all its categories.
    std::vector<const QEL::ICategory*> modelLanguages;
    for (const QEL::ICategory* category : model->GetCategories())
        if (category->isLanguage())
            modelLanguages.push_back(category);
    for (const QEL::ICategory* category : model->GetCategories()) {
        // A category counts itself among all its categories, so a language that inherits a
        // second one names both.
        std::set<ORLO::String> languages;
        for (const QEL::ICategory* language : modelLanguages)
            if (category->SupportsCategory(language))
                languages.insert(language->GetName());
        if (languages.size() <= 1)
            continue;
        ORLO::String joined;
        for (const ORLO::String& language : languages) {
            if (!joined.empty())
                joined += ',';
            joined += language;
        }
        fault("MM_SEVERAL_LANGUAGES",
              {{"LANGUAGES_CATEGORIES", joined}, {"CATEGORY_NAME", category->GetName()}});
        correct = false;
    }
    return correct;
}

bool FunctionalValidator::astIsCorrect(const QEL::IMetaModel* model) const {
    bool correct = true;
    for (const QEL::ICategory* category : model->GetCategories()) {
        const QEL::IAttribute* ast = category->GetAttribute(astAttribute);
        if (!ast || !ast->IsString() || !correct)
            continue;
        std::vector<const QEL::IWalkable*> walked;
        correct = category->calculateLocalWalkable(walked, astAttribute);
    }
    return correct;
}

} // namespace MetaModel
