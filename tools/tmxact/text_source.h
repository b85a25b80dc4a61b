// Actions out of action text.
#ifndef TMXACT_TEXT_SOURCE_H
#define TMXACT_TEXT_SOURCE_H

#include "action_source.h"
#include "input.h"
#include "text_reader.h"

namespace tmxact {

class TextSource : public ActionSource {
  public:
    TextSource(Input& input, const SourceOptions& options, ReadEvents& events);

    bool Next(ReadAction& action) override;

  private:
    bool SkipWhite();
    void Refuse(const TextReader::Failure& failure);
    void Resynchronise(bool afterLine, bool lineBegin, bool behindAction);

    Input& input_;
    ReadEvents& events_;
    TextReader reader_;
    bool started_ = false;
};

}  // namespace tmxact

#endif
