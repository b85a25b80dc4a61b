#include "text/parameter_text.h"

namespace TmxPLC {

template <typename Char, class T>
void WritePair(TextWriter<Char>& writer, std::uint32_t type, const MatchParam<T>& pair,
               const Name& name) {
    if (!writer.DisplayMode) return WriteNamed(writer, pair.IsSet, pair.Value, name);
    if (!pair.IsSet) return writer.PassAbsent();
    WriteDisplay(writer, type, pair.Value);
}

template <typename Char, class T>
void ReadPair(TextScanner<Char>& scanner, MatchParam<T>& pair, const Name& name) {
    ReadNamed(scanner, pair.IsSet, pair.Value, name);
}

template <typename Char>
void WriteTemplateStart(TextWriter<Char>& writer, const Descriptor& descriptor, const Name& name,
                        const CTmxMatchAction& message) {
    writer.WriteName(descriptor, name);
    // A template's index begins one lower, so that the description's is -1, whose name is
    // "Comment". The description is not for display.
    if (writer.DisplayMode) return writer.PassAbsent();
    WritePair(writer, ParamWideText, message.Description(), kDescriptionName);
}

template <typename Char>
void ReadTemplateStart(TextScanner<Char>& scanner, CTmxMatchAction& message) {
    scanner.ScanOpenParen();
    MatchParam<WideText> description;
    ReadPair(scanner, description, kDescriptionName);
    if (description.IsSet) message.SetDescription(std::move(description.Value));
}

template <typename Char>
bool WriteTemplateEnd(TextWriter<Char>& writer) {
    return writer.WriteEnd();
}

template <typename Char>
bool ReadTemplateEnd(TextScanner<Char>& scanner) {
    scanner.ScanCloseParen();
    return scanner.Healthy();
}

#define TMX_PAIR(Char, T)                                                                         \
    template void WritePair(TextWriter<Char>&, std::uint32_t, const MatchParam<T>&, const Name&); \
    template void ReadPair(TextScanner<Char>&, MatchParam<T>&, const Name&);
#define TMX_TEMPLATES(Char)                                                             \
    TMX_PAIR(Char, std::int32_t)                                                        \
    TMX_PAIR(Char, std::int64_t)                                                        \
    TMX_PAIR(Char, TZincDateTime)                                                       \
    TMX_PAIR(Char, AnsiText)                                                            \
    TMX_PAIR(Char, WideText)                                                            \
    TMX_PAIR(Char, bool)                                                                \
    TMX_PAIR(Char, Guid)                                                                \
    TMX_PAIR(Char, NamedId)                                                             \
    TMX_PAIR(Char, ObjectRef)                                                           \
    TMX_PAIR(Char, GuidRef)                                                             \
    TMX_PAIR(Char, double)                                                              \
    TMX_PAIR(Char, ParamRect)                                                           \
    TMX_PAIR(Char, DataSet)                                                             \
    template void WriteTemplateStart(TextWriter<Char>&, const Descriptor&, const Name&, \
                                     const CTmxMatchAction&);                           \
    template void ReadTemplateStart(TextScanner<Char>&, CTmxMatchAction&);              \
    template bool WriteTemplateEnd(TextWriter<Char>&);                                  \
    template bool ReadTemplateEnd(TextScanner<Char>&);
TMX_TEMPLATES(char)
TMX_TEMPLATES(WideChar)
#undef TMX_TEMPLATES
#undef TMX_PAIR

}  // namespace TmxPLC
