// Linked into every executable of a sanitizer build: points the leak checker at the
// project's suppressions, so the store's never-released arrays are not reported and exit
// statuses stay as they are, in death-test children and child processes too.
extern "C" const char* __lsan_default_options() {
    return "print_suppressions=0:suppressions=" CIF2PDB_LSAN_SUPPRESSIONS;
}
extern "C" const char* __ubsan_default_options() { return "print_stacktrace=1"; }
