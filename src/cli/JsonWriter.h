// Writes compact JSON to a stream, placing the commas itself; enough for the command-line
// tool's reports.
#pragma once

#include <cstdint>
#include <ostream>
#include <string_view>
#include <vector>

namespace tavrel::cli {

class JsonWriter {
public:
    explicit JsonWriter(std::ostream& out) : mOut(out) {}

    JsonWriter& beginObject();
    JsonWriter& endObject();
    JsonWriter& beginArray();
    JsonWriter& endArray();
    JsonWriter& key(std::string_view name);
    JsonWriter& value(std::string_view text);
    JsonWriter& value(const char* text) { return value(std::string_view(text)); }
    JsonWriter& value(std::int64_t number);
    JsonWriter& value(int number) { return value(std::int64_t{number}); }
    JsonWriter& value(bool flag);
    // JSON's null, for a field that has no value now.
    JsonWriter& nullValue();

    // Escapes text as a JSON string; bytes that are not valid UTF-8 become U+FFFD.
    static void writeString(std::ostream& out, std::string_view text);

private:
    void separate();

    std::ostream& mOut;
    std::vector<bool> mFirst;  // per open container: nothing written in it yet
    bool mAfterKey = false;
};

}  // namespace tavrel::cli
