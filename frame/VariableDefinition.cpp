#include "VariableDefinition.h"

#include <memory>

namespace tavix {

namespace {
std::unique_ptr<VariableDefinition>& Instance() {
    static std::unique_ptr<VariableDefinition> instance = std::make_unique<VariableDefinition>();
    return instance;
}
}  // namespace

VariableDefinition& Var() { return *Instance(); }

void ResetVariableDefinition() { Instance() = std::make_unique<VariableDefinition>(); }

}  // namespace tavix
