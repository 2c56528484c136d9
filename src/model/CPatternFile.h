// A placeholder type of the pattern data family; it carries no data and has no behaviour.
#pragma once

namespace tavrel {

class CPatternFile {};

}  // namespace tavrel
