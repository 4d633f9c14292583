// The growing text buffer that status lines and value converters are
// written into.
#ifndef VK_SONY_PROPERTIES_TEXT_WRITER_H
#define VK_SONY_PROPERTIES_TEXT_WRITER_H

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

// Text appended piece by piece, a few characters at a time: each piece costs
// a comparison of two pointers and a copy, and the buffer keeps its capacity
// when cleared, so a writer reused from line to line stops allocating. Not
// thread-safe; neither copied nor moved (it points into its own buffer).
class TextWriter {
 public:
  TextWriter() = default;
  TextWriter(const TextWriter&) = delete;
  TextWriter& operator=(const TextWriter&) = delete;

  // Room for `n` more characters: write them there, then commit() the end.
  char* room(size_t n) {
    if (static_cast<size_t>(capacity_end_ - end_) < n) grow(n);
    return end_;
  }
  // Ends the text at `end`: a pointer into the last room() past what was
  // written there.
  void commit(char* end) { end_ = end; }

  void append(std::string_view text) {
    char* out = room(text.size());
    if (!text.empty()) std::memcpy(out, text.data(), text.size());
    end_ = out + text.size();
  }
  void push_back(char c) {
    char* out = room(1);
    *out = c;
    end_ = out + 1;
  }
  // Drops the last character; the text must not be empty.
  void pop_back() { --end_; }
  void clear() { end_ = buffer_.get(); }

  size_t size() const { return static_cast<size_t>(end_ - buffer_.get()); }
  // The text; valid until the next change.
  std::string_view view() const { return {buffer_.get(), size()}; }

 private:
  // Makes room for `n` more characters: a new buffer of at least twice the
  // capacity, the text copied over.
  void grow(size_t n);

  std::unique_ptr<char[]> buffer_;
  char* end_ = nullptr;           // of the text
  char* capacity_end_ = nullptr;  // of buffer_
};

#endif  // VK_SONY_PROPERTIES_TEXT_WRITER_H
