#include "cli/JsonWriter.h"

#include <cstdio>

namespace tavrel::cli {

namespace {

// Length of the valid UTF-8 sequence starting at text[i], or 0 when it is not one.
std::size_t utf8Length(std::string_view text, std::size_t i) {
    const auto b = static_cast<unsigned char>(text[i]);
    std::size_t n = 0;
    if (b < 0x80) return 1;
    if (b >= 0xC2 && b <= 0xDF)
        n = 2;
    else if (b >= 0xE0 && b <= 0xEF)
        n = 3;
    else if (b >= 0xF0 && b <= 0xF4)
        n = 4;
    else
        return 0;
    if (i + n > text.size()) return 0;
    for (std::size_t k = 1; k < n; ++k) {
        if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return 0;
    }
    return n;
}

}  // namespace

void JsonWriter::separate() {
    if (mAfterKey) {
        mAfterKey = false;
        return;
    }
    if (!mFirst.empty()) {
        if (!mFirst.back()) mOut << ',';
        mFirst.back() = false;
    }
}

JsonWriter& JsonWriter::beginObject() {
    separate();
    mOut << '{';
    mFirst.push_back(true);
    return *this;
}

JsonWriter& JsonWriter::endObject() {
    mOut << '}';
    mFirst.pop_back();
    return *this;
}

JsonWriter& JsonWriter::beginArray() {
    separate();
    mOut << '[';
    mFirst.push_back(true);
    return *this;
}

JsonWriter& JsonWriter::endArray() {
    mOut << ']';
    mFirst.pop_back();
    return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
    separate();
    writeString(mOut, name);
    mOut << ':';
    mAfterKey = true;
    return *this;
}

JsonWriter& JsonWriter::value(std::string_view text) {
    separate();
    writeString(mOut, text);
    return *this;
}

JsonWriter& JsonWriter::value(std::int64_t number) {
    separate();
    mOut << number;
    return *this;
}

JsonWriter& JsonWriter::value(bool flag) {
    separate();
    mOut << (flag ? "true" : "false");
    return *this;
}

JsonWriter& JsonWriter::nullValue() {
    separate();
    mOut << "null";
    return *this;
}

void JsonWriter::writeString(std::ostream& out, std::string_view text) {
    out << '"';
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i];
        const std::size_t n = utf8Length(text, i);
        if (n == 0) {
            out << "\\ufffd";
            ++i;
            continue;
        }
        if (n > 1) {
            out << text.substr(i, n);
        } else if (c == '"' || c == '\\') {
            out << '\\' << c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\u%04x", static_cast<unsigned>(c));
            out << buf;
        } else {
            out << c;
        }
        i += n;
    }
    out << '"';
}

}  // namespace tavrel::cli
