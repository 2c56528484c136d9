// The drum kit names read from the unit, in the order the unit sent them. Changed and read on
// the model's thread only.
#pragma once

#include <string>
#include <vector>

namespace tavrel {

class CKitMgr {
public:
    void addName(std::string name) { mKitArray.push_back(std::move(name)); }
    const std::vector<std::string>& getKitArray() const { return mKitArray; }
    void reset() { mKitArray.clear(); }

private:
    std::vector<std::string> mKitArray;
};

}  // namespace tavrel
