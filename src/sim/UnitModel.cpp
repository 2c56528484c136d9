#include "sim/UnitModel.h"

namespace tavrel::sim {

std::optional<UnitModel> UnitModel::named(std::string_view name) {
    for (UnitModel model : {ql900(), ql414xe3()}) {
        if (model.name() == name) return model;
    }
    return std::nullopt;
}

}  // namespace tavrel::sim
