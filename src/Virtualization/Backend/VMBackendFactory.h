#pragma once

#include "Models/VMBackendType.h"

#include <memory>

class VMBackendController;

/// The one place that knows every kind of controller.
namespace VMBackendFactory {

[[nodiscard]] std::unique_ptr<VMBackendController> makeController(VMBackendType backend);

}
