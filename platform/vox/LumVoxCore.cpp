#include "LumVoxCore.h"

namespace LumVoxCore {

Object::~Object() = default;

}  // namespace LumVoxCore
