#include "metamodel/model/ids.h"

#include "metamodel/model/nametable.h"

namespace QEL {

namespace {

constexpr int noId = int(0x80000000u);

} // namespace

CIds::CIdGroup::CIdGroup() : copies_(std::make_shared<std::deque<ORLO::String>>()) {}

std::uint32_t CIds::CIdGroup::findName(const ORLO::String& name) const {
    return byName_.find(hashName(name),
                        [&](std::uint32_t at) { return *entries_[at].name == name; });
}

std::uint32_t CIds::CIdGroup::findId(int id) const {
    return byId_.find(hashId(id), [&](std::uint32_t at) { return entries_[at].id == id; });
}

bool CIds::CIdGroup::Has(const ORLO::String& name) const {
    return findName(name) != PositionIndex::none;
}

bool CIds::CIdGroup::Has(int id) const {
    return findId(id) != PositionIndex::none;
}

int CIds::CIdGroup::GetId(const ORLO::String& name) const {
    const std::uint32_t at = findName(name);
    return at == PositionIndex::none ? noId : entries_[at].id;
}

const ORLO::String& CIds::CIdGroup::GetName(int id) const {
    const std::uint32_t at = findId(id);
    return at == PositionIndex::none ? ORLO::String::nil() : *entries_[at].name;
}

void CIds::CIdGroup::AddLasting(const ORLO::String& name, int id) {
    const bool newId = !Has(id);
    const bool newName = !Has(name);
    if (!newId && !newName)
        return;
    const auto at = std::uint32_t(entries_.size());
    entries_.push_back(Entry{id, &name});
    if (newId)
        byId_.add(hashId(id), at);
    if (newName)
        byName_.add(hashName(name), at);
}

void CIds::CIdGroup::Add(const ORLO::String& name, int id) {
    if (Has(id) && Has(name))
        return;
    copies_->push_back(name);
    AddLasting(copies_->back(), id);
}

} // namespace QEL
