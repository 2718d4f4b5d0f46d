// ValidTextOutput: what the command line prints is valid UTF-8, whatever bytes the names it
// prints hold (a package in a folder named in another encoding, a capture's file name). The
// bytes on disk stay as they are; each byte that is no part of a character is printed as U+FFFD.
#pragma once

#include <iosfwd>
#include <memory>
#include <mutex>
#include <streambuf>
#include <string>

namespace vorno::cli {

/// A stream buffer that passes valid UTF-8 on to `target`, holding back a character cut between
/// two writes until its rest comes (or a flush ends it as invalid).
class ValidUTF8Buffer final : public std::streambuf {
 public:
  explicit ValidUTF8Buffer(std::streambuf* target) : target_(target) {}
  ~ValidUTF8Buffer() override { sync(); }

 protected:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(const char* bytes, std::streamsize count) override;
  int sync() override;

 private:
  bool pass(const std::string& text);

  std::streambuf* target_;
  std::mutex mutex_;  // the server's request threads may report on standard error at once
  std::string pending_;
};

/// For the life of the object, standard output and standard error go through a ValidUTF8Buffer.
class ValidTextOutput {
 public:
  ValidTextOutput();
  ~ValidTextOutput();
  ValidTextOutput(const ValidTextOutput&) = delete;
  ValidTextOutput& operator=(const ValidTextOutput&) = delete;

 private:
  std::unique_ptr<ValidUTF8Buffer> out_, err_;
  std::streambuf* previousOut_;
  std::streambuf* previousErr_;
};

}  // namespace vorno::cli
