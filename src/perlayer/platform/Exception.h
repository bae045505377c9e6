#pragma once
// The exceptions of the system. What users see stands in Message(); the type tells which road of
// the failure it was. Names begin with E.

#include <exception>
#include <string>
#include <type_traits>
#include <utility>

namespace perlayer {

class Exception : public std::exception {
 public:
  explicit Exception(std::string message) : FMessage(std::move(message)) {}
  const std::string& Message() const { return FMessage; }
  const char* what() const noexcept override { return FMessage.c_str(); }

 private:
  std::string FMessage;
};

#define PERLAYER_EXCEPTION(Name, Base) \
  class Name : public Base {           \
   public:                             \
    using Base::Base;                  \
  }

PERLAYER_EXCEPTION(EAbort, Exception);             // leaves the action silently; nobody shows it
PERLAYER_EXCEPTION(EConvertError, Exception);      // a text or value that is not what it should be
PERLAYER_EXCEPTION(EListError, Exception);         // index outside a list, duplicate, sorted list
PERLAYER_EXCEPTION(EInvalidCast, Exception);       // an object of another class than asked for
PERLAYER_EXCEPTION(EVariantError, EConvertError);  // a variant of another kind than asked for
PERLAYER_EXCEPTION(EAbstractError, Exception);     // an operation or class that must be derived
PERLAYER_EXCEPTION(EAssertionFailed, Exception);   // a programming fault that is always checked
PERLAYER_EXCEPTION(EStreamError, Exception);       // reading or writing a file failed
PERLAYER_EXCEPTION(EComponentError, Exception);    // component names: duplicate or malformed

// A message for any exception: Message() of ours, what() of the standard library's.
// Whole, also where a message holds a NUL.
inline std::string ExceptionMessage(const std::exception& e) {
  const auto* const ours = dynamic_cast<const Exception*>(&e);
  return ours != nullptr ? ours->Message() : e.what();
}

// Raises EAssertionFailed with the message unless the condition holds; present in every build.
inline void Assert(bool condition, const char* message) {
  if (!condition) throw EAssertionFailed(message);
}

// Runs `body`, then `ending` in any case. Where both raise, the ending's exception is the one that
// goes on. For endings that may raise; others are a destructor guard's work.
template <class TBody, class TEnding>
auto TryFinally(TBody&& body, TEnding&& ending) -> decltype(body()) {
  if constexpr (std::is_void_v<decltype(body())>) {
    try {
      body();
    } catch (...) {
      ending();
      throw;
    }
    ending();
  } else {
    auto result = [&]() -> decltype(body()) {
      try {
        return body();
      } catch (...) {
        ending();
        throw;
      }
    }();
    ending();
    return result;
  }
}

}  // namespace perlayer
