#pragma once

#include "metamodel/model/metamodel.h"

#include <initializer_list>
#include <string>

namespace TestSupport {

// A model put together through the add operations, as the builder would, for tests that are
// about the model rather than the stream.
struct HandModel {
    QEL::CMetaModel model;

    QEL::CCategory* category(const std::string& name,
                             std::initializer_list<const QEL::ICategory*> parents = {}) {
        QEL::CCategory* added = model.AddCategory(name);
        added->SetStatus(QEL::EsActive);
        for (const QEL::ICategory* parent : parents)
            added->AddInheritedCategory(parent);
        return added;
    }
    QEL::CMetaType* type(const std::string& name,
                         std::initializer_list<const QEL::ICategory*> parents = {}) {
        QEL::CMetaType* added = model.AddType(name);
        added->SetStatus(QEL::EsActive);
        for (const QEL::ICategory* parent : parents)
            added->AddInheritedCategory(parent);
        return added;
    }
    QEL::CProperty* property(QEL::CCategory* owner, const std::string& shortName,
                             const std::string& type = "integer", int id = 0) {
        QEL::CProperty* added = model.AddProperty(shortName, owner->GetName() + "." + shortName, "",
                                                  type, "no", id, 0, 1);
        added->SetCategory(owner);
        added->SetStatus(QEL::EsActive);
        owner->AddProperty(added);
        return added;
    }
};

} // namespace TestSupport
