#include "softswitch/cli/form.h"

namespace dhcp::softswitch::cli {
namespace {

FormWord form_word(std::string_view text) {
  FormWord word;
  if (text.front() == '[') {
    word.may_end_before = true;
    text.remove_prefix(1);
  }
  while (text.back() == ']') text.remove_suffix(1);
  if (text.ends_with("...")) {
    word.repeats = true;
    text.remove_suffix(3);
  }
  word.place = find_placeholder(text);
  if (word.place == nullptr) word.keyword = text;
  return word;
}

Form take_apart(const Command& command, std::string_view form, bool undo) {
  Form out{&command, undo, {}};
  const auto words = split_words(form);
  out.words.reserve(words.size() + 1);
  if (undo) out.words.push_back({"no", nullptr, false, false});
  for (const Word& word : words) out.words.push_back(form_word(word.text));
  if (command.show != nullptr) out.words.push_back({"json", nullptr, true, false});
  return out;
}

std::vector<Form> collect() {
  std::vector<Form> forms;
  for (const Command& command : commands()) {
    forms.push_back(take_apart(command, command.form, false));
    if (!command.no_form.empty()) forms.push_back(take_apart(command, command.no_form, true));
  }
  return forms;
}

}  // namespace

std::vector<const Form*> forms_of(Mode mode) {
  static const std::vector<Form> all = collect();
  std::vector<const Form*> forms;
  for (const Form& form : all)
    if ((form.command->modes & in(mode)) != 0) forms.push_back(&form);
  return forms;
}

}  // namespace dhcp::softswitch::cli
