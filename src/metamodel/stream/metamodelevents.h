#pragma once

#include "cpplanguage/deletable.h"
#include "cpplanguage/orlostring.h"
#include "interfaces/elementstatus.h"
#include "metamodel/metamodelexceptions.h"

namespace MetaModel {

using ORLO::String;

// The contract between a reader and a sink: one Start, categories and types with their bodies,
// one End. Readers call these; sinks implement the On... hooks of CMetaModelEvents.
class IMetaModelEvents : public virtual CppLanguage::IDeletable {
public:
    // The one status of streams and models, so that a status read from one is set on the
    // other as it stands.
    using ElementStatus = QEL::ElementStatus;
    static constexpr ElementStatus EsActive = QEL::EsActive;
    static constexpr ElementStatus EsDeprecated = QEL::EsDeprecated;
    static constexpr ElementStatus EsObsolete = QEL::EsObsolete;
    static constexpr ElementStatus EsInactive = QEL::EsInactive;

    // Marks "no id": every partial declaration carries it.
    static constexpr int NoId = int(0x80000000u);

    virtual void Start() = 0;
    virtual void End() = 0;
    virtual void StartCategory(const String& name, bool partial, const String& description, int id,
                               const ElementStatus& status) = 0;
    virtual void EndCategory(bool partial) = 0;
    virtual void StartType(const String& name, bool partial, const String& description, int id,
                           const ElementStatus& status) = 0;
    virtual void EndType(bool partial) = 0;
    virtual void StartProperty(const String& name, const String& description, const String& type,
                               const int& minimalCardinality, const int& maximalCardinality,
                               const String& merge, int id, const ElementStatus& status) = 0;
    virtual void EndProperty() = 0;
    virtual void Attribute(const String& name, int value, const ElementStatus& status) = 0;
    virtual void Attribute(const String& name, const String& value,
                           const ElementStatus& status) = 0;
    virtual void InheritedCategory(const String& name, const ElementStatus& status) = 0;
    virtual void Tree(const String& parentType, const String& treeCategory,
                      const ElementStatus& status) = 0;
    virtual void SetSource(const String& source) = 0;
    virtual const String& GetSource() const = 0;
};

// The one base of all sinks: the public calls keep the stream position and forward to the
// hooks, which is all a sink overrides. Nothing here checks the order of calls; producers
// guarantee it.
class CMetaModelEvents : public IMetaModelEvents {
public:
    CMetaModelEvents() = default;
    CMetaModelEvents(const CMetaModelEvents&) = default;
    CMetaModelEvents& operator=(const CMetaModelEvents&) = default;
    ~CMetaModelEvents() override = default;

    bool invariant() const override;
    void Release() override { delete this; }

    void Start() final;
    void End() final;
    void StartCategory(const String& name, bool partial, const String& description, int id,
                       const ElementStatus& status) final;
    void EndCategory(bool partial) final;
    void StartType(const String& name, bool partial, const String& description, int id,
                   const ElementStatus& status) final;
    void EndType(bool partial) final;
    void StartProperty(const String& name, const String& description, const String& type,
                       const int& minimalCardinality, const int& maximalCardinality,
                       const String& merge, int id, const ElementStatus& status) final;
    void EndProperty() final;
    void Attribute(const String& name, int value, const ElementStatus& status) final;
    void Attribute(const String& name, const String& value, const ElementStatus& status) final;
    void InheritedCategory(const String& name, const ElementStatus& status) final;
    void Tree(const String& parentType, const String& treeCategory,
              const ElementStatus& status) final;
    void SetSource(const String& source) final;
    const String& GetSource() const final { return source_; }

    virtual bool IsStarted() const { return started_; }
    virtual bool IsInCategory() const { return inCategory_; }
    virtual bool IsInType() const { return inType_; }
    virtual bool IsPartial() const { return partial_; }
    virtual bool IsInProperty() const { return inProperty_; }

protected:
    // During OnStartCategory and OnStartType the new position is already visible; during
    // OnStart and OnStartProperty it is not yet. End hooks still see what they close.
    virtual void OnStart() {}
    virtual void OnEnd() {}
    virtual void OnStartCategory(const String&, bool, const String&, int, const ElementStatus&) {}
    virtual void OnEndCategory(bool) {}
    virtual void OnStartType(const String&, bool, const String&, int, const ElementStatus&) {}
    virtual void OnEndType(bool) {}
    virtual void OnStartProperty(const String&, const String&, const String&, const int&,
                                 const int&, const String&, int, const ElementStatus&) {}
    virtual void OnEndProperty() {}
    virtual void OnAttribute(const String&, int, const ElementStatus&) {}
    virtual void OnAttribute(const String&, const String&, const ElementStatus&) {}
    virtual void OnInheritedCategory(const String&, const ElementStatus&) {}
    virtual void OnTree(const String&, const String&, const ElementStatus&) {}

private:
    bool started_ = false;
    bool inCategory_ = false;
    bool inType_ = false;
    bool partial_ = false;
    bool inProperty_ = false;
    String source_;
};

} // namespace MetaModel
