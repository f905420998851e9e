// What a STEP file holds and documents have no place for.
#pragma once

#include <Standard_Handle.hxx>

#include <functional>
#include <string>

class StepData_StepModel;

namespace openhost {

/// Hands `warn` a line about each kind of thing in `model` that documents cannot hold, and about entities that are not
/// as the standard wants them, with how many there are.
void TellLosses(const Handle(StepData_StepModel) & model, const std::function<void(const std::string&)>& warn);

} // namespace openhost
