// The console: text printed by any thread is queued and written to standard output by the
// "screen" flush thread (or by flush()), and lines are read from standard input at a prompt.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/base/base_type_wstring.h>
#include <zul/mt/handle.h>
#include <zul/base/mutex.h>
#include <zul/mt/thread.h>

#include <iosfwd>
#include <list>
#include <string>

namespace zul {

/// Whether standard input has something to read within 100 milliseconds (select on fd 0);
/// false on a time-out or an error.
ZUL_API bool stdinReadable();

/// The console behind zul::console. Its mutex is the innermost lock of the library: nothing
/// else is locked, and nothing is allocated through the allocation helpers, while it is held.
class ZUL_API ConsoleImpl {
  public:
    /// Writes the queue every 100 milliseconds, or at once when woken.
    class ZUL_API FlushThread : public SimpleThread {
      public:
        /// A thread named `name`, without owner, for `console` (not owned; it must outlive
        /// the thread).
        FlushThread(ConsoleImpl* console, istr const& name);

      protected:
        /// One flush pass of the console, then a wait of up to 100 milliseconds on the
        /// thread's monitor (cut short by notify()).
        void onWork() override;

      private:
        ConsoleImpl* console_;
    };

    /// The console, created on first use. Null only for a call made on the thread that is
    /// creating it (printing from inside the creation): such text goes straight to the stream.
    static ConsoleImpl* instance();
    /// Closes and destroys the console; the next instance() makes a new one.
    static void destroy();

    /// An empty, closed console; the process-wide one comes from instance().
    ConsoleImpl();
    /// Stops the flush thread and writes what is queued.
    ~ConsoleImpl();
    ConsoleImpl(ConsoleImpl const&) = delete;
    ConsoleImpl& operator=(ConsoleImpl const&) = delete;

    /// Flushes, then starts the flush thread "screen" (once).
    void open();
    /// Stops the flush thread, then writes the queue on the calling thread.
    void close();
    /// Wakes the flush thread, or writes the queue on the calling thread when there is none.
    void flush();

    ///@{

    /// Queues the text (println: followed by a newline); nothing is written here. `n` of all
    /// ones takes the text up to its terminating 0; a null text queues nothing but the
    /// newline of println.
    void print(iwstr const& s) { print_i(s.data, s.size, false); }
    void print(wchar_t const* s, unsigned long n) { print_i(s, n, false); }
    void println(iwstr const& s) { print_i(s.data, s.size, true); }
    void println(wchar_t const* s, unsigned long n) { print_i(s, n, true); }
    ///@}

    /// Shows the prompt (unless it is still shown) and reads one line when one arrives within
    /// about 100 milliseconds; otherwise returns false after about 200 milliseconds, `line`
    /// unchanged. A line already typed (two lines entered at once) is returned at once.
    bool readline(std::wstring& line, wchar_t const* prompt) { return readline_i(line, prompt); }

    /// Writes `n` characters (all up to the terminating 0 for the all-ones length) to
    /// standard output as 8-bit text, then a newline when `nl`; flushes.
    void write(wchar_t const* s, unsigned long n, bool nl);
    /// Writes a newline to standard output and flushes.
    void write_nl();
    /// Writes the stored prompt, when there is one, and marks it shown.
    void prompt();
    /// Standard output (std::cout).
    std::ostream& out();
    /// Standard input (std::cin).
    std::istream& in();

    /// One flush pass: the queue, oldest first, below a prompt that is shown.
    void onTimer(void* = nullptr);

  private:
    void print_i(wchar_t const* s, unsigned long n, bool nl);
    bool readline_i(std::wstring& line, wchar_t const* prompt);

    Mutex mutex_;
    std::list<std::wstring> pending_;
    std::wstring prompt_;
    bool promptShown_ = false;
    // The flush thread and the lock that lets flush() wake it while open() or close() runs
    // on another thread (taken before the thread's own monitor, never with mutex_).
    Mutex flusherMutex_;
    Handle<FlushThread> flusher_;
};

/// The console, through static functions; each creates it on first use.
class ZUL_API console {
  public:
    /// ConsoleImpl::instance(): the console, created on first use.
    static ConsoleImpl* create();
    /// ConsoleImpl::destroy(): writes what is queued and destroys the console.
    static void destroy();
    /// Flushes, then starts the flush thread "screen" (once).
    static void open();
    /// Stops the flush thread, then writes the queue on the calling thread.
    static void close();
    /// Wakes the flush thread, or writes the queue on the calling thread when there is none.
    static void flush();

    ///@{

    /// Queue 8-bit (UTF-8) or wide text; println adds a newline. `n` of all ones takes the
    /// text up to its terminating 0; a null text is empty. Text printed on the thread that is
    /// creating the console is written to standard output at once.
    static void print(String const& s);
    static void print(char const* s, unsigned long n);
    static void print(std::wstring const& s);
    static void print(wchar_t const* s, unsigned long n);
    static void println(String const& s);
    static void println(char const* s, unsigned long n);
    static void println(std::wstring const& s);
    static void println(wchar_t const* s, unsigned long n);
    ///@}

    /// readline of the console with the prompt converted; `line` is empty when nothing was
    /// read. True when a line was read.
    static bool readline(String& line, char const* prompt);
    /// The same in wide text; `line` is left unchanged when nothing was read.
    static bool readline(std::wstring& line, wchar_t const* prompt);
};

}  // namespace zul
