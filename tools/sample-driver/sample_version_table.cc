// The module's version table on Linux: a section of its own that the library
// reads from the file without loading the module.
#define SAMPLE_TEXT(x) #x
#define SAMPLE_VERSION_TEXT(major, minor, build, revision) \
  SAMPLE_TEXT(major) "." SAMPLE_TEXT(minor) "." SAMPLE_TEXT(build) "." SAMPLE_TEXT(revision)
#define SAMPLE_VERSION \
  SAMPLE_VERSION_TEXT(SAMPLE_MAJOR, SAMPLE_MINOR, SAMPLE_BUILD, SAMPLE_REVISION)

extern "C" __attribute__((section(".vantrel_version"), used))
const char kSampleDriverVersionTable[] =
    "FileVersion\0" SAMPLE_VERSION "\0ProductVersion\0" SAMPLE_VERSION
    "\0Build Date\0"
    "2026-11-20, 09:30:00";
