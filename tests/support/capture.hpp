// Capturing what this process writes to standard output and the error stream.
//
// Library code prints with stdio and flushes; the capture swaps file
// descriptors 1 and 2 for temporary files, so it sees output from any layer
// and any thread, and restores the originals when it ends.
#pragma once

#include <string>
#include <vector>

namespace orb::test {

class OutputCapture {
 public:
  OutputCapture();   //!< starts capturing
  ~OutputCapture();  //!< restores the streams if finish() was not called
  OutputCapture(const OutputCapture &) = delete;
  OutputCapture &operator=(const OutputCapture &) = delete;

  //! Stops capturing and keeps what was written in out() and err().
  void finish();
  const std::string &out() const { return out_; }
  const std::string &err() const { return err_; }

 private:
  int saved_[2] = {-1, -1};
  int files_[2] = {-1, -1};
  std::string out_, err_;
};

//! The lines of `text` that begin with `prefix`, without their newlines.
std::vector<std::string> lines_with(const std::string &text, const std::string &prefix);

}  // namespace orb::test
