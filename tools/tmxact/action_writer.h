// Puts actions out in one of the four forms.
#ifndef TMXACT_ACTION_WRITER_H
#define TMXACT_ACTION_WRITER_H

#include <string>

#include "action_json.h"
#include "action_source.h"
#include "json_text.h"
#include "output.h"

namespace tmxact {

enum class Form { kText, kBinary, kDisplay, kJson };

struct WriteOptions {
    Form form = Form::kText;
    bool ansi = false;            // text and display forms in the ANSI code page
    bool int64AsString = false;   // in JSON
    bool narrowMayBeUtf8 = true;  // in JSON: narrow texts may have come from UTF-8 text
};

class ActionWriter {
  public:
    ActionWriter(Output& output, const WriteOptions& options);

    // Writes one action as one record. Returns the empty text, or why the action has no such form;
    // then nothing of it is written. Labels, which may be null, stand in brackets ahead of the
    // display form and as a key in JSON. Throws WriteError and BrokenPipe.
    std::string Write(const ReadAction& action, const Labels* labels = nullptr);

    Form OutputForm() const noexcept { return options_.form; }

  private:
    void Prefix(const Labels& labels);
    std::string Text(const ReadAction& action, bool display);
    std::string Binary(const ReadAction& action);
    std::string Json(const ReadAction& action, const Labels* labels);

    Output& output_;
    WriteOptions options_;
    JsonText json_;
};

}  // namespace tmxact

#endif
