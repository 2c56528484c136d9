// The drum kits the simulated unit comes with and reports, in its own order. Kit numbers are
// indexes into this list; a name has at most 15 characters, as the unit shows them.
#pragma once

#include <span>
#include <string_view>

namespace tavrel::sim {

class FactoryKits {
public:
    static std::span<const std::string_view> names();
};

}  // namespace tavrel::sim
