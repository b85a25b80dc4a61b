// Actions out of stored actions in a row.
#ifndef TMXACT_BINARY_SOURCE_H
#define TMXACT_BINARY_SOURCE_H

#include "action_source.h"
#include "binary_walker.h"
#include "input.h"

namespace tmxact {

class BinarySource : public ActionSource {
  public:
    BinarySource(Input& input, const SourceOptions& options, ReadEvents& events);

    bool Next(ReadAction& action) override;

  private:
    BinaryWalker::Outcome WalkOn(std::size_t begin);
    void Refuse(std::size_t position, std::string reason);
    void Resynchronise();

    Input& input_;
    ReadEvents& events_;
    Wanted wanted_;
    BinaryWalker walker_;
};

}  // namespace tmxact

#endif
