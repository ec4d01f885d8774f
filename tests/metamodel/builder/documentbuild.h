#pragma once

#include "interfaces/imetamodel.h"

#include <memory>
#include <string>
#include <vector>

namespace TestSupport {

struct ModelRelease {
    void operator()(QEL::IMetaModel* model) const { model->Release(); }
};
using ModelPtr = std::unique_ptr<QEL::IMetaModel, ModelRelease>;

// The model of the fixture documents under tests/data/model, read in the order given.
ModelPtr buildFromDocuments(const std::vector<std::string>& relativePaths);

} // namespace TestSupport
