#include "sim/HiddenFolderVolume.h"

#include "model/Log.h"

#include <system_error>
#include <utility>

namespace tavrel::sim {

namespace fs = std::filesystem;

HiddenFolderVolume::HiddenFolderVolume(fs::path root) : mRoot(std::move(root)) {
    std::error_code ec;
    if (fs::exists(shown(), ec) && !fs::exists(hidden(), ec)) {
        fs::rename(shown(), hidden(), ec);
        if (ec) Log::line("sim", "hide " + shown().string() + ": " + ec.message());
    }
}

HiddenFolderVolume::~HiddenFolderVolume() {
    unmount();
}

fs::path HiddenFolderVolume::unitFolder() const {
    return mMounted ? shown() : hidden();
}

bool HiddenFolderVolume::mount() {
    if (mMounted) return true;
    std::error_code ec;
    fs::rename(hidden(), shown(), ec);
    if (ec) {
        Log::line("sim", "show " + shown().string() + ": " + ec.message());
        return false;
    }
    mMounted = true;
    return true;
}

void HiddenFolderVolume::unmount() {
    if (!mMounted) return;
    std::error_code ec;
    fs::rename(shown(), hidden(), ec);
    // Still showing: unitFolder() must go on naming the folder where the files are, or the
    // next start would seed a fresh storage beside it.
    if (ec) {
        Log::line("sim", "hide " + shown().string() + ": " + ec.message());
        return;
    }
    mMounted = false;
}

}  // namespace tavrel::sim
