// Storing a message as bytes and reading bytes, each against the reference: all that can be seen.
#ifndef TMX_TESTS_SUPPORT_BINARY_CHECKS_H
#define TMX_TESTS_SUPPORT_BINARY_CHECKS_H

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/checks.h"
#include "support/reference_binary.h"

namespace tmxtest {

constexpr uint32_t kUnsetSize = 0xABABABAB;
constexpr uint8_t kCanaryByte = 0xEE;
constexpr size_t kGuardBytes = 16;

// Stores into buffers of these sizes, with room behind each of them that must stay as it is.
inline void CheckSizes(const std::string& where, TmxHandle handle, const Bytes& expected,
                       const std::vector<size_t>& sizes) {
    for (size_t size : sizes) {
        Bytes buffer(size + kGuardBytes, kCanaryByte);
        uint32_t needed = kUnsetSize;
        const bool stored =
            TmxAct_StoreToBinBuffer(handle, buffer.data(), static_cast<uint32_t>(size), &needed);
        ASSERT_EQ(stored, size >= expected.size()) << where << " with " << size;
        ASSERT_EQ(needed, expected.size()) << where << " with " << size;
        ASSERT_EQ(LastError(), stored ? "none" : "1008/7 buffer too small") << where;
        ASSERT_TRUE(std::all_of(buffer.begin() + static_cast<std::ptrdiff_t>(size), buffer.end(),
                                [](uint8_t byte) { return byte == kCanaryByte; }))
            << where << " with " << size;
        // A clean front of the bytes, and nothing behind it.
        size_t same = 0;
        while (same < size && same < expected.size() && buffer[same] == expected[same]) ++same;
        for (size_t i = same; i < size; ++i) {
            ASSERT_EQ(buffer[i], kCanaryByte) << where << " with " << size << ", byte " << i << "\n"
                                              << "expected " << Shown(expected) << "\n"
                                              << "got      " << Shown(buffer);
        }
        if (stored) {
            ASSERT_GE(same, expected.size()) << where;
        }
        ASSERT_EQ(
            TmxAct_StoreToBinBuffer(handle, buffer.data(), static_cast<uint32_t>(size), nullptr),
            stored);
    }
}

inline std::string PropertyDifferences(TmxHandle handle, const Properties& expected) {
    WideString listing = TMX_W("<properties />");
    if (!expected.empty()) {
        const auto escaped = [](const WideString& text) {
            WideString result;
            // A zero ends the text where it is handed out.
            for (TmxWChar c : text) {
                if (c == TMX_W('&')) {
                    result += TMX_W("&amp;");
                } else if (c == TMX_W('<')) {
                    result += TMX_W("&lt;");
                } else if (c == TMX_W('>')) {
                    result += TMX_W("&gt;");
                } else {
                    result += c;
                }
            }
            return result;
        };
        listing = TMX_W("<properties>\r\n");
        for (const auto& [name, value] : expected) {
            listing += TMX_W("  <property>\r\n    <name>") + escaped(name) +
                       TMX_W("</name>\r\n    <value>") + escaped(value) +
                       TMX_W("</value>\r\n  </property>\r\n");
        }
        listing += TMX_W("</properties>");
    }
    listing = listing.substr(0, listing.find(TMX_W('\0')));
    const TmxWChar* text = nullptr;
    if (!TmxAct_GetProperties(handle, &text)) return "no properties\n";
    if (text == listing) return {};
    return "properties: expected " + Printable(listing) + ", got " + Printable(text) + "\n";
}

// Reads the bytes with the library and with the reference, and compares all that can be seen. The
// bytes lie at the end of a block of their own, so that a read past them is found.
inline bool CheckRead(const Bytes& bytes, const std::string& where, Handle* made = nullptr,
                      uint32_t messageClass = TMX_MESSAGE_CLASS_ACTION) {
    const BinaryReading expected = ReadBinary(bytes, messageClass);
    const std::unique_ptr<uint8_t[]> block(new uint8_t[bytes.size()]);
    if (!bytes.empty()) std::memcpy(block.get(), bytes.data(), bytes.size());
    uint32_t used = kUnsetSize;
    Handle handle(TmxAct_CreateFromBinBuffer(block.get(), static_cast<int32_t>(bytes.size()),
                                             messageClass, &used));
    std::string problem;
    if (LastError() != "none") problem += "error " + LastError() + "\n";
    if (used != expected.used) {
        problem += "used: expected " + std::to_string(static_cast<int32_t>(expected.used)) +
                   ", got " + std::to_string(static_cast<int32_t>(used)) + "\n";
    }
    if (static_cast<bool>(handle) != (expected.action != nullptr)) {
        problem += expected.action != nullptr ? "no handle\n" : "a handle\n";
    } else if (handle) {
        problem += MessageDifferences(handle.get(), expected);
        if (!expected.isTemplate) problem += PropertyDifferences(handle.get(), expected.properties);
        // Texts with zeros in them, which decode can't show, are seen here.
        if (!HoldsNow(expected)) {
            const Bytes again = BinaryForm(expected, expected.properties);
            const Bytes stored = StoredBytes(handle.get());
            if (stored != again) {
                problem +=
                    "stored again: expected " + Shown(again) + "\ngot " + Shown(stored) + "\n";
            }
        }
    }
    if (!problem.empty()) {
        ADD_FAILURE() << where << ", " << bytes.size() << " bytes\n"
                      << Shown(bytes) << "\n"
                      << problem;
    }
    const bool result = static_cast<bool>(handle);
    if (made != nullptr) *made = std::move(handle);
    return result;
}

}  // namespace tmxtest

#endif
