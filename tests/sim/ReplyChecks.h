// Checks every reply of the unit must pass, worked out here from the message layout rather
// than taken from the simulator.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace tavrel::test {

// A data set of the model: header, 12, address, data, checksum, F7, with the address and
// data bytes summing to a multiple of 128 with the checksum.
inline void expectWellFormedDataSet(const std::vector<std::uint8_t>& reply, std::uint8_t modelId) {
    ASSERT_GE(reply.size(), 16u);
    const std::vector<std::uint8_t> header{0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, modelId};
    EXPECT_TRUE(std::equal(header.begin(), header.end(), reply.begin()));
    EXPECT_EQ(reply[8], 0x12);
    EXPECT_EQ(reply.back(), 0xF7);
    unsigned sum = 0;
    for (std::size_t i = 9; i + 1 < reply.size(); ++i) {
        EXPECT_LT(reply[i], 0x80) << "byte " << i;
        sum += reply[i];
    }
    EXPECT_EQ(sum % 128, 0u) << "checksum " << int{reply[reply.size() - 2]};
}

}  // namespace tavrel::test
