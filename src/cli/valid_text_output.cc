#include "cli/valid_text_output.h"

#include <iostream>

#include "kit/util/utf8.h"

namespace vorno::cli {

ValidUTF8Buffer::int_type ValidUTF8Buffer::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return sync() == 0 ? traits_type::not_eof(c) : c;  // c is eof
  const char byte = traits_type::to_char_type(c);
  return xsputn(&byte, 1) == 1 ? c : traits_type::eof();
}

std::streamsize ValidUTF8Buffer::xsputn(const char* bytes, std::streamsize count) {
  std::lock_guard lock(mutex_);
  pending_.append(bytes, static_cast<size_t>(count));
  const size_t ready = pending_.size() - utf8UnfinishedTail(pending_);
  std::string text;
  appendValidUTF8(text, std::string_view(pending_).substr(0, ready));
  pending_.erase(0, ready);
  return pass(text) ? count : 0;
}

int ValidUTF8Buffer::sync() {
  std::lock_guard lock(mutex_);
  const std::string text = validUTF8(pending_);  // a character never finished is no character
  pending_.clear();
  if (!pass(text)) return -1;
  return target_->pubsync();
}

bool ValidUTF8Buffer::pass(const std::string& text) {
  return target_->sputn(text.data(), static_cast<std::streamsize>(text.size())) ==
         static_cast<std::streamsize>(text.size());
}

ValidTextOutput::ValidTextOutput()
    : out_(std::make_unique<ValidUTF8Buffer>(std::cout.rdbuf())),
      err_(std::make_unique<ValidUTF8Buffer>(std::cerr.rdbuf())),
      previousOut_(std::cout.rdbuf(out_.get())),
      previousErr_(std::cerr.rdbuf(err_.get())) {}

ValidTextOutput::~ValidTextOutput() {
  std::cout.flush();
  std::cerr.flush();
  std::cout.rdbuf(previousOut_);
  std::cerr.rdbuf(previousErr_);
}

}  // namespace vorno::cli
