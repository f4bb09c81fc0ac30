#include "softswitch/cli/match.h"

#include <algorithm>
#include <set>

#include "softswitch/cli/form.h"

namespace dhcp::softswitch::cli {
namespace {

/// A form that agrees with all words so far; `next` is its word that comes now.
struct Candidate {
  const Form* form;
  size_t next = 0;
  bool repeating = false;  // the word before `next` may come once more
};
using Candidates = std::vector<Candidate>;

const FormWord* next_word(const Candidate& c) {
  return c.next < c.form->words.size() ? &c.form->words[c.next] : nullptr;
}

/// The value that may come now: the next word, or a repetition of the one before.
const Placeholder* next_place(const Candidate& c) {
  if (c.repeating) return c.form->words[c.next - 1].place;
  const FormWord* word = next_word(c);
  return word != nullptr ? word->place : nullptr;
}

bool may_end(const Candidate& c) {
  const FormWord* word = next_word(c);
  return word == nullptr || word->may_end_before;
}

bool takes_line(const Placeholder& place) { return place.kind == Kind::text; }

/// Keywords that may come now and that `typed` abbreviates; an exact one stands alone.
std::vector<std::string_view> keywords(const Candidates& candidates, std::string_view typed) {
  std::vector<std::string_view> found;
  for (const Candidate& c : candidates) {
    const FormWord* word = next_word(c);
    if (word == nullptr || word->place != nullptr || !begins_with(word->keyword, typed)) continue;
    if (same_word(word->keyword, typed)) return {word->keyword};
    if (std::find(found.begin(), found.end(), word->keyword) == found.end()) found.push_back(word->keyword);
  }
  return found;
}

void advance_keyword(Candidates& candidates, std::string_view keyword) {
  std::erase_if(candidates, [&](const Candidate& c) {
    const FormWord* word = next_word(c);
    return word == nullptr || word->place != nullptr || word->keyword != keyword;
  });
  for (Candidate& c : candidates) {
    ++c.next;
    c.repeating = false;
  }
}

/// Keeps the candidates that take `text` as a value. When none does, `reason` says why the first one did not.
bool advance_value(Candidates& candidates, std::string_view text, std::string_view rest, Value& value,
                   std::string& reason) {
  Candidates kept;
  for (Candidate c : candidates) {
    const Placeholder* place = next_place(c);
    if (place == nullptr) continue;
    Value parsed;
    if (const auto bad = parse_value(*place, takes_line(*place) ? rest : text, parsed)) {
      if (reason.empty()) reason = *bad;
      continue;
    }
    value = parsed;
    if (!c.repeating) c.repeating = c.form->words[c.next++].repeats;
    kept.push_back(c);
    if (takes_line(*place)) break;
  }
  candidates = kept;
  return !candidates.empty();
}

std::string expected(const Candidates& candidates) {
  std::set<std::string_view> items;
  for (const Candidate& c : candidates) {
    if (const FormWord* word = next_word(c)) items.insert(word->place != nullptr ? word->place->name : word->keyword);
  }
  std::string text;
  for (std::string_view item : items) text += (text.empty() ? " " : ", ") + std::string(item);
  return text;
}

/// The word with which a readout ends for programs is all that may come now.
bool at_json(const Candidate& c) {
  return c.form->command->show != nullptr && c.next + 1 == c.form->words.size() && !c.repeating;
}

std::string unknown_word(const Candidates& candidates, std::string_view typed) {
  if (std::all_of(candidates.begin(), candidates.end(),
                  [](const Candidate& c) { return next_word(c) == nullptr || at_json(c); })) {
    return "the command ends before \"" + std::string(typed) + "\"";
  }
  return "\"" + std::string(typed) + "\" is not known here";
}

std::string ambiguous(std::string_view typed, const std::vector<std::string_view>& found) {
  std::string reason = "\"" + std::string(typed) + "\" is ambiguous:";
  for (std::string_view keyword : found) reason += " " + std::string(keyword);
  return reason;
}

/// The walk of a line through the forms.
struct Walk {
  Candidates candidates;
  Match match;              // args, and the reason and column of a fault
  bool line_taken = false;  // a text value took the rest of the line
};

Candidates all_forms(Mode mode) {
  Candidates candidates;
  for (const Form* form : forms_of(mode)) candidates.push_back({form});
  return candidates;
}

bool fault(Walk& walk, size_t column, std::string reason) {
  walk.match.column = column;
  walk.match.reason = std::move(reason);
  return false;
}

bool step(Walk& walk, const Word& word, std::string_view line) {
  const auto found = keywords(walk.candidates, word.text);
  if (found.size() > 1) return fault(walk, word.column, ambiguous(word.text, found));
  if (found.size() == 1) {
    advance_keyword(walk.candidates, found.front());
    return true;
  }
  Candidates before = walk.candidates;
  Value value;
  std::string reason;
  if (!advance_value(walk.candidates, word.text, line.substr(word.column), value, reason)) {
    return fault(walk, word.column, reason.empty() ? unknown_word(before, word.text) : reason);
  }
  const Candidate& kept = walk.candidates.front();
  walk.line_taken = takes_line(*kept.form->words[kept.next - 1].place);
  walk.match.args.push_back(std::move(value));
  walk.match.arg_columns.push_back(word.column);
  return true;
}

bool walk_words(Walk& walk, std::string_view line, const std::vector<Word>& words) {
  for (const Word& word : words) {
    if (walk.line_taken) return true;
    if (!step(walk, word, line)) return false;
  }
  return true;
}

void add_choice(std::vector<Choice>& list, Choice choice) {
  const auto same = [&](const Choice& c) { return c.word == choice.word; };
  if (std::none_of(list.begin(), list.end(), same)) list.push_back(std::move(choice));
}

std::string help_of_keyword(const Candidate& c, std::string path, std::string_view keyword) {
  path += std::string(path.empty() ? "" : " ") + std::string(keyword);
  const std::string_view general = keyword_help(path);
  return std::string(general.empty() ? c.form->command->help : general);
}

/// The keywords walked so far, spelled out: the path under which a keyword's help is found.
std::string path_of(const Candidates& candidates) {
  std::string path;
  if (candidates.empty()) return path;
  const Candidate& first = candidates.front();
  for (size_t i = 0; i < first.next; ++i) {
    const FormWord& word = first.form->words[i];
    if (word.place == nullptr) path += std::string(path.empty() ? "" : " ") + std::string(word.keyword);
  }
  return path;
}

}  // namespace

Match match_line(std::string_view line, Mode mode) {
  line = trim_end(line);
  Walk walk{all_forms(mode), {}, false};
  if (!walk_words(walk, line, split_words(line))) return std::move(walk.match);
  for (const Candidate& c : walk.candidates) {
    if (!may_end(c)) continue;
    walk.match.command = c.form->command;
    walk.match.undo = c.form->undo;
    walk.match.json = c.form->command->show != nullptr && next_word(c) == nullptr;
    return std::move(walk.match);
  }
  fault(walk, line.size() + 1, "the command is not complete; expected:" + expected(walk.candidates));
  return std::move(walk.match);
}

std::vector<Choice> choices(std::string_view line, Mode mode) {
  std::vector<Word> words = split_words(line);
  std::string_view partial;
  if (!words.empty() && !line.empty() && words.back().column + words.back().text.size() == line.size()) {
    partial = words.back().text;
    words.pop_back();
  }
  Walk walk{all_forms(mode), {}, false};
  std::vector<Choice> list;
  if (!walk_words(walk, line, words) || walk.line_taken) return list;
  const std::string path = path_of(walk.candidates);
  for (const Candidate& c : walk.candidates) {
    const FormWord* word = next_word(c);
    if (word != nullptr && word->place == nullptr && begins_with(word->keyword, partial)) {
      add_choice(list, {std::string(word->keyword), help_of_keyword(c, path, word->keyword), true});
    }
    if (const Placeholder* place = next_place(c)) add_choice(list, {shape_of(*place), std::string(place->help), false});
  }
  std::stable_sort(list.begin(), list.end(), [](const Choice& a, const Choice& b) {
    return a.keyword && b.keyword ? a.word < b.word : a.keyword > b.keyword;
  });
  const bool complete = std::any_of(walk.candidates.begin(), walk.candidates.end(), may_end);
  if (partial.empty() && complete && !words.empty()) list.push_back({"<cr>", "", false});
  return list;
}

}  // namespace dhcp::softswitch::cli
