/// What the leak checker is to overlook: memory that libraries of others lose, once a program or for a damaged file.
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
    return "leak:libsrt\nleak:libheif\nleak:libglib\nleak:_dl_resize_dtv\n"
           // The toolkit keeps pictures that it loaded by itself, and its movie backend a reader.
           "leak:QQuickTextureFactory\nleak:textureForFactory\nleak:QImageReader\nleak:libffmpegmediaplugin\n"
           "leak:libfontconfig\n";
}
