// zul::ConsoleImpl and zul::console: the queued console output, its "screen" flush thread and
// prompted line input.
#include <sys/select.h>
#include <zul/base/alloc.h>
#include <zul/log/console.h>
#include <zul/util/singleton_T.h>
#include <zul/util/util_func.h>

#include <cstdio>
#include <iostream>
#include <string>

namespace zul {
namespace {

constexpr long long kFlushPeriodMs = 100;
constexpr long kReadableWaitUs = 100000;
constexpr unsigned long kIdleSleepMs = 100;
constexpr unsigned long kWholeText = static_cast<unsigned long>(-1);

// True on the thread that is creating the console, so that text printed from inside the
// creation (the leak checker's echo of the console's own allocation) does not wait for it.
thread_local bool t_creatingConsole = false;

// UTF-8 of wide text. The console encodes by itself rather than through the library's
// conversions: those allocate through the allocation helpers, which may print to the console.
std::string narrow(wchar_t const* s, unsigned long n) {
    std::string out;
    if (s == nullptr) return out;
    if (n == kWholeText) n = std::wcslen(s);
    out.reserve(n);
    for (unsigned long i = 0; i < n; ++i) {
        auto c = static_cast<unsigned long>(static_cast<std::make_unsigned_t<wchar_t>>(s[i]));
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000 && (c < 0xD800 || c > 0xDFFF)) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c >= 0x10000 && c < 0x110000) {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += '?';  // not a code point
        }
    }
    return out;
}

std::wstring widen(istr s) {
    std::wstring w;
    ansiToWstring(s, w);
    return w;
}

// A line already read from the terminal into the input buffers counts as readable.
bool inputBuffered() {
    if (std::cin.rdbuf()->in_avail() > 0) return true;
    return stdin->_IO_read_ptr < stdin->_IO_read_end;
}

// Text for a console that cannot be had (printed during its own creation): written at once.
void writeDirect(std::wstring const& text) {
    std::string const s = narrow(text.data(), text.size());
    std::cout.write(s.data(), static_cast<std::streamsize>(s.size()));
    std::cout.flush();
}

}  // namespace

bool stdinReadable() {
    fd_set fds;
    FD_ZERO(&fds);
    FD_SET(0, &fds);
    timeval tv{0, kReadableWaitUs};
    return ::select(1, &fds, nullptr, nullptr, &tv) > 0;
}

// ---- FlushThread --------------------------------------------------------------------------

ConsoleImpl::FlushThread::FlushThread(ConsoleImpl* console, istr const& name)
    : SimpleThread(nullptr, String(name).c_str()), console_(console) {}

void ConsoleImpl::FlushThread::onWork() {
    console_->onTimer();
    wait(Time::milliSeconds(kFlushPeriodMs));
}

// ---- ConsoleImpl --------------------------------------------------------------------------

ConsoleImpl* ConsoleImpl::instance() {
    if (ConsoleImpl* c = Singleton_T<ConsoleImpl>::existing()) return c;
    if (t_creatingConsole) return nullptr;
    t_creatingConsole = true;
    try {
        ConsoleImpl* c = Singleton_T<ConsoleImpl>::instance(__FILE__, __LINE__, "instance");
        t_creatingConsole = false;
        return c;
    } catch (...) {
        t_creatingConsole = false;
        throw;
    }
}

void ConsoleImpl::destroy() {
    Singleton_T<ConsoleImpl>::destroy();
}

ConsoleImpl::ConsoleImpl() = default;

ConsoleImpl::~ConsoleImpl() {
    close();
}

void ConsoleImpl::open() {
    flush();
    {
        Guard_T<Mutex> lock(flusherMutex_);
        if (flusher_) return;
    }
    // Started outside the lock: the new thread's own records may flush the console.
    Handle<FlushThread> h(allocate_push_maybe(
        allocate_no_mlc<FlushThread>(__FILE__, __LINE__, "open", this, istr("screen")), __FILE__,
        __LINE__, "open"));
    h->startAndWait(0);
    Guard_T<Mutex> lock(flusherMutex_);
    flusher_ = h;
}

void ConsoleImpl::close() {
    Handle<FlushThread> running;
    {
        Guard_T<Mutex> lock(flusherMutex_);
        running = flusher_;
        flusher_ = nullptr;
    }
    stopThread(running);
    flush();
}

void ConsoleImpl::flush() {
    {
        Guard_T<Mutex> lock(flusherMutex_);
        if (flusher_) {
            flusher_->notify();
            return;
        }
    }
    onTimer();
}

void ConsoleImpl::print_i(wchar_t const* s, unsigned long n, bool nl) {
    std::wstring text;
    if (s != nullptr) text.assign(s, n == kWholeText ? std::wcslen(s) : n);
    if (nl) text += L'\n';
    Guard_T<Mutex> lock(mutex_);
    pending_.push_back(std::move(text));
}

bool ConsoleImpl::readline_i(std::wstring& line, wchar_t const* prompt) {
    {
        Guard_T<Mutex> lock(mutex_);
        std::wstring const given(prompt != nullptr ? prompt : L"");
        if (given != prompt_) prompt_ = given;
        if (!promptShown_) this->prompt();
    }
    if (!inputBuffered() && !stdinReadable()) {
        sleep(kIdleSleepMs);
        return false;
    }
    std::string text;
    if (!std::getline(std::cin, text)) {
        sleep(kIdleSleepMs);
        return false;
    }
    line = widen(istr(text));
    Guard_T<Mutex> lock(mutex_);
    promptShown_ = false;
    return true;
}

void ConsoleImpl::write(wchar_t const* s, unsigned long n, bool nl) {
    if (s != nullptr) {
        std::string const text = narrow(s, n);
        std::cout.write(text.data(), static_cast<std::streamsize>(text.size()));
        std::cout.flush();
    }
    if (nl) write_nl();
}

void ConsoleImpl::write_nl() {
    std::cout << '\n';
    std::cout.flush();
}

void ConsoleImpl::prompt() {
    if (prompt_.empty()) return;
    write(prompt_.data(), prompt_.size(), false);
    promptShown_ = true;
}

std::ostream& ConsoleImpl::out() {
    return std::cout;
}

std::istream& ConsoleImpl::in() {
    return std::cin;
}

void ConsoleImpl::onTimer(void*) {
    std::list<std::wstring> batch;
    {
        Guard_T<Mutex> lock(mutex_);
        if (pending_.empty()) return;
        batch.swap(pending_);
        if (promptShown_) batch.emplace_front(L"\n");
    }
    for (std::wstring const& text : batch) write(text.data(), text.size(), false);
    Guard_T<Mutex> lock(mutex_);
    promptShown_ = false;
}

// ---- console ------------------------------------------------------------------------------

ConsoleImpl* console::create() {
    return ConsoleImpl::instance();
}

void console::destroy() {
    ConsoleImpl::destroy();
}

void console::open() {
    if (ConsoleImpl* c = ConsoleImpl::instance()) c->open();
}

void console::close() {
    if (ConsoleImpl* c = ConsoleImpl::instance()) c->close();
}

void console::flush() {
    if (ConsoleImpl* c = ConsoleImpl::instance()) c->flush();
}

void console::print(std::wstring const& s) {
    if (ConsoleImpl* c = ConsoleImpl::instance())
        c->print(s.data(), s.size());
    else
        writeDirect(s);
}

void console::println(std::wstring const& s) {
    print(s + L"\n");
}

void console::print(wchar_t const* s, unsigned long n) {
    if (ConsoleImpl* c = ConsoleImpl::instance())
        c->print(s, n);
    else
        writeDirect(s != nullptr ? std::wstring(s, n == kWholeText ? std::wcslen(s) : n) : L"");
}

void console::println(wchar_t const* s, unsigned long n) {
    println(s != nullptr ? std::wstring(s, n == kWholeText ? std::wcslen(s) : n) : std::wstring());
}

void console::print(String const& s) {
    print(widen(istr(s)));
}

void console::println(String const& s) {
    println(widen(istr(s)));
}

void console::print(char const* s, unsigned long n) {
    print(widen(istr(s, n == kWholeText ? istr::npos : n)));
}

void console::println(char const* s, unsigned long n) {
    println(widen(istr(s, n == kWholeText ? istr::npos : n)));
}

bool console::readline(String& line, char const* prompt) {
    std::wstring const wprompt = widen(istr(prompt));
    std::wstring wline;
    bool const got = readline(wline, wprompt.c_str());
    line = toAnsi(wstr(iwstr(wline)));
    return got;
}

bool console::readline(std::wstring& line, wchar_t const* prompt) {
    ConsoleImpl* c = ConsoleImpl::instance();
    return c != nullptr && c->readline(line, prompt);
}

}  // namespace zul
