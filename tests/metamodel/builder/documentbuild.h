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

// The model of the documents, read in the order given; a relative path lies under
// tests/data/model.
ModelPtr buildFromDocuments(const std::vector<std::string>& relativePaths);

} // namespace TestSupport
