#include "support/reference_equal.h"

namespace tmxtest {

namespace {

uint32_t Fold(uint32_t c) {
    if (c >= 'A' && c <= 'Z') return c + 32;
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return c + 32;
    if (c >= 0x391 && c <= 0x3A9 && c != 0x3A2) return c + 32;
    if (c == 0x3C2) return 0x3C3;
    if (c >= 0x410 && c <= 0x42F) return c + 32;
    if (c == 0x178) return 0xFF;
    if (c == 0x1E9E) return 0xDF;
    if (c == 0x212A) return 'k';
    if (c >= 0x10400 && c <= 0x10427) return c + 40;
    return c;
}

std::vector<uint32_t> FoldedPoints(const WideString& text) {
    std::vector<uint32_t> points;
    for (size_t i = 0; i < text.size(); ++i) {
        uint32_t point = text[i];
        if (point >= 0xD800 && point < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] < 0xE000) {
            point = 0x10000 + ((point - 0xD800) << 10) + (text[i + 1] - 0xDC00u);
            ++i;
        }
        points.push_back(Fold(point));
    }
    return points;
}

}  // namespace

bool EqualWide(const WideString& a, const WideString& b) {
    return a.size() == b.size() && FoldedPoints(a) == FoldedPoints(b);
}

}  // namespace tmxtest
