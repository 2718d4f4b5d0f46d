// AppStorePolicy: Apple's guidance on the words in store art, as six rules (price, discount, web
// address, copyright, Apple recognition, other platform), each a regular expression over the
// text a shopper reads.
//
//   AppStorePolicy policy;
//   for (const AppStorePolicy::Finding& f : policy.findings("Save **$5**, today."))
//     std::cout << '"' << f.snippet << "\" " << f.tail;  // "$5" is a price. Apple asks ...
//
// The patterns are compiled once per process; an `AppStorePolicy` holds one matcher per rule, so
// keep one for a whole scan rather than one per text. It is not shared between threads.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vorno {

class AppStorePolicy {
 public:
  /// One rule's first match in a text.
  struct Finding {
    std::string snippet;  ///< the matched text, trimmed of blanks and ".,;:!?)"
    std::string tail;     ///< the rest of the message: "is a price. Apple asks ..."

    bool operator==(const Finding&) const = default;
  };

  AppStorePolicy();
  ~AppStorePolicy();
  // Matchers are C++ objects of the regex engine bound to their last input; copying them would
  // mean recompiling, and nothing needs a copy.
  AppStorePolicy(const AppStorePolicy&) = delete;
  AppStorePolicy& operator=(const AppStorePolicy&) = delete;

  /// The first match of each rule, in rule order, in `text` as shown: markup removed, line breaks
  /// read as blanks, lower-cased.
  std::vector<Finding> findings(std::string_view text);

 private:
  struct Matchers;
  std::unique_ptr<Matchers> matchers_;
};

}  // namespace vorno
