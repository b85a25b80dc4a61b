// Actions out of action text.
#ifndef TMXACT_TEXT_SOURCE_H
#define TMXACT_TEXT_SOURCE_H

#include <memory>

#include "action_source.h"
#include "input.h"
#include "text_walker.h"

namespace tmxact {

class TextSource : public ActionSource {
  public:
    TextSource(Input& input, const SourceOptions& options, ReadEvents& events);

    bool Next(ReadAction& action) override;

  private:
    bool SkipWhite();
    bool Take(ReadAction& action);
    void RefuseByLibrary(std::size_t length);
    void Refuse(std::size_t position, std::string reason, std::size_t resume, bool afterLine);
    Refusal At(std::size_t position, std::string reason);
    void Resynchronise(bool afterLine, bool lineBegin, bool behindAction);

    Input& input_;
    const SourceOptions& options_;
    ReadEvents& events_;
    TextWalker walker_;
    bool started_ = false;
    bool doubted_ = false;
    std::size_t markSize_ = 0;  // of the byte order mark
};

}  // namespace tmxact

#endif
