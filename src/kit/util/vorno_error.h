// VornoError: the one failure a user can cause, carried as one sentence that says what to do next.
#pragma once

#include <stdexcept>
#include <string>

namespace vorno {

class VornoError : public std::runtime_error {
 public:
  enum class Kind { notFound, invalid, io };

  VornoError(Kind kind, std::string message) : std::runtime_error(std::move(message)), kind_(kind) {}

  static VornoError notFound(std::string message) { return {Kind::notFound, std::move(message)}; }
  static VornoError invalid(std::string message) { return {Kind::invalid, std::move(message)}; }
  static VornoError io(std::string message) { return {Kind::io, std::move(message)}; }

  Kind kind() const { return kind_; }
  std::string message() const { return what(); }

 private:
  Kind kind_;
};

}  // namespace vorno
