/// GLib keeps its tables of names until the process ends, and libsoup's GStreamer plug-in drops a few bytes
/// with each pipeline; the leak sanitizer's short stacks show of both only that GLib allocated.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libglib-2.0.so\n";
}

/// The thread sanitizer sees nothing of how GStreamer's threads agree with one another.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
  return "ignore_noninstrumented_modules=1";
}
