// Doc comments of the library's namespaces, read only by Doxygen (make docs).

/// The zul base library: text, bytes, time, exceptions, threads, logging and the helpers
/// every module shares.
namespace zul {
/// The named-typed-value tree and its text notation, PML: reader, writers, object binding.
namespace pml {
/// The value tree itself: nodes (`Unit`) and their text and list values.
namespace ntv {}
}  // namespace pml
/// A small XML model: nodes, a forgiving parser, a writer and object streams.
namespace xml {}
/// Threads with a fixed lifecycle, their registry, and thread-safe containers.
namespace mt {}
/// Thin layers for what the operating system lacks: application folders, file output.
namespace platform {}
}  // namespace zul
