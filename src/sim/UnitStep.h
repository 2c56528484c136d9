// The requests the unit understands, each named as on the simulator's command line. A fault
// switch can pull the unit's cable on receiving one of them.
#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace tavrel::sim {

enum class UnitStep {
    None,  // not a request the unit understands
    EditorOn,
    EditorOff,
    EditorRequest,
    Mount,
    Unmount,
    MountRequest,
    KitRequest,
};

inline constexpr std::array<std::pair<UnitStep, std::string_view>, 7> kUnitStepNames{{
    {UnitStep::EditorOn, "editor-on"},
    {UnitStep::EditorOff, "editor-off"},
    {UnitStep::EditorRequest, "editor-request"},
    {UnitStep::Mount, "mount"},
    {UnitStep::Unmount, "unmount"},
    {UnitStep::MountRequest, "mount-request"},
    {UnitStep::KitRequest, "kit-request"},
}};

inline std::string_view nameOf(UnitStep step) {
    for (const auto& [s, name] : kUnitStepNames) {
        if (s == step) return name;
    }
    return "unknown";
}

inline std::optional<UnitStep> stepNamed(std::string_view name) {
    for (const auto& [step, n] : kUnitStepNames) {
        if (n == name) return step;
    }
    return std::nullopt;
}

}  // namespace tavrel::sim
