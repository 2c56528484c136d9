// The drum kit names read from the unit, in the order the unit sent them.
#pragma once

#include <string>
#include <vector>

namespace tavrel {

class CKitMgr {
public:
    void addName(std::string name) { mKitArray.push_back(std::move(name)); }
    std::vector<std::string>& getKitArray() { return mKitArray; }
    void reset() { mKitArray.clear(); }

private:
    std::vector<std::string> mKitArray;
};

}  // namespace tavrel
