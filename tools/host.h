// The command as the host of the library: it hears what the library logs.
#ifndef VEXO_TOOLS_HOST_H
#define VEXO_TOOLS_HOST_H

#include <string>

namespace tool {

/// While it lives it is told every error that the library logs, instead of the one that was told
/// before. The wording is for developers: it is shown only where there is no better reason.
class ErrorListener {
 public:
  ErrorListener();
  ErrorListener(const ErrorListener&) = delete;
  ErrorListener& operator=(const ErrorListener&) = delete;
  virtual ~ErrorListener();

  virtual void hear(const char* message) = 0;

 private:
  ErrorListener* const before_;
};

/// Keeps the first error, which is the cause of those after it.
class FirstError : public ErrorListener {
 public:
  void hear(const char* message) override;
  /// Empty when nothing was logged.
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

}  // namespace tool

#endif
