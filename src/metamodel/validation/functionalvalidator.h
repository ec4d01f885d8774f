#pragma once

#include "interfaces/icategory.h"
#include "interfaces/imetamodel.h"
#include "metamodel/metamodelexceptions.h"

#include <set>

namespace MetaModel {

// Judges a finished model as a whole: circuits in two trees and in the inheritance, the
// pairing of the INF_TYPE and INF_SUB_TYPE attributes, at most one language per category, and
// the walks of categories that carry an "AST" attribute. It reads the model and changes
// nothing; every fault is reported, and only validate throws.
class FunctionalValidator {
public:
    // Throws FunctionalMetaModelException ("QEL_MM_EXIST_ERR") when isValid fails.
    void validate(const QEL::IMetaModel* model);
    bool isValid(const QEL::IMetaModel* model);
    // The number of failing checks of the latest isValid, not of messages.
    int errorCount() const { return errorCount_; }

    bool treeHasNoCircuit(const QEL::IMetaModel* model, const QEL::ICategory* treeCategory) const;
    // True means a fault.
    bool inheritanceHasCircuit(const QEL::IMetaModel* model) const;
    bool infTypInfSubTypAreCorrect(const QEL::IMetaModel* model) const;
    bool languageInheritanceAreCorrect(const QEL::IMetaModel* model) const;
    bool astIsCorrect(const QEL::IMetaModel* model) const;

private:
    bool hasCircuit(const QEL::ICategory* category, std::set<const QEL::ICategory*>& path,
                    std::set<const QEL::ICategory*>& clean) const;

    int errorCount_ = 0;
};

} // namespace MetaModel
