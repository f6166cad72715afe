// The record front end (placeholder bodies; the framed layouts follow).
#include <zul/log/log_logger.h>

namespace zul {

void writeLog(logger&, char const*, char const*, char const*, char const*, char const*) {}
void writeInfoLog(logger&, char const*, unsigned int, char const*, char const*, char const*) {}
void writeEntryLog(logger&, char const*, char const*, char const*, char) {}
void writeErrorLog(logger&, char const*, unsigned int, char const*, char const*, char const*) {}
void writeExcptLog(logger&, char const*, unsigned int, char const*, char const*) {}
void assertFailure(logger&, char const*, char const*, unsigned int, char const*, char const*) {}
void ensureFailure(logger&, char const*, char const*, unsigned int, char const*, char const*) {}
void exceptionThrown(logger&, char const*, unsigned int, char const*, char const*) {}

}  // namespace zul
