#pragma once
#include "localllm/LocalLLMModel.h"

#include <vector>

namespace vennic {

/// The models that the program itself knows, in the order in which they are offered.
const std::vector<LocalLLMModel>& curatedModels();

} // namespace vennic
