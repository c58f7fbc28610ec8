/// The sandbox's HTTP library is used as the system installs it, so the thread sanitizer does not
/// see into it. It makes its table of methods with the first request, under a guard; that later
/// requests look at the guard is not seen, and so their reading of the table is reported. Left out
/// is what the library itself touches through memcmp, memcpy and the like. Its locks are seen, and
/// so is all that our handlers do.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's own name
extern "C" const char* __tsan_default_suppressions();
// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's own name
const char* __tsan_default_suppressions() { return "called_from_lib:libcpp-httplib.so\n"; }
