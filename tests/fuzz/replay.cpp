// Replays the stored fuzz corpus through the fuzz targets, built by the
// ordinary compiler: every input found once stays a regression test in the
// normal and the sanitizer build, without clang or libFuzzer.
//
//   tst_fuzzcorpus <corpus directory>...
//
// Each directory is named after its target (corpus/earsepath, ...). A broken
// property aborts, as it does under the fuzzer.

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdint>
#include <cstdio>

extern "C" int fuzz_earsepath(const uint8_t* data, size_t size);
extern "C" int fuzz_polygon(const uint8_t* data, size_t size);
extern "C" int fuzz_cutters(const uint8_t* data, size_t size);
extern "C" int fuzz_cutstroke(const uint8_t* data, size_t size);
extern "C" int fuzz_pentail(const uint8_t* data, size_t size);
extern "C" int fuzz_commonuitool(const uint8_t* data, size_t size);

namespace {

using Entry = int (*)(const uint8_t*, size_t);

Entry entryFor(const QString& target)
{
    const struct
    {
        const char* name;
        Entry entry;
    } targets[] = {{"earsepath", fuzz_earsepath}, {"polygon", fuzz_polygon},
                   {"cutters", fuzz_cutters},     {"cutstroke", fuzz_cutstroke},
                   {"pentail", fuzz_pentail},     {"commonuitool", fuzz_commonuitool}};
    for (const auto& t : targets) {
        if (target == QLatin1String(t.name))
            return t.entry;
    }
    return nullptr;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList dirs = app.arguments().mid(1);
    if (dirs.isEmpty()) {
        std::fprintf(stderr, "usage: tst_fuzzcorpus <corpus directory>...\n");
        return 2;
    }
    int total = 0;
    for (const QString& path : dirs) {
        const QDir dir(path);
        const Entry entry = entryFor(dir.dirName());
        if (!entry || !dir.exists()) {
            std::fprintf(stderr, "tst_fuzzcorpus: %s is not the corpus of a fuzz target\n",
                         qPrintable(path));
            return 2;
        }
        const QFileInfoList files = dir.entryInfoList(QDir::Files, QDir::Name);
        for (const QFileInfo& file : files) {
            QFile input(file.absoluteFilePath());
            if (!input.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "tst_fuzzcorpus: cannot read %s\n",
                             qPrintable(file.absoluteFilePath()));
                return 1;
            }
            const QByteArray bytes = input.readAll();
            entry(reinterpret_cast<const uint8_t*>(bytes.constData()), size_t(bytes.size()));
        }
        std::printf("%s: %d inputs\n", qPrintable(dir.dirName()), int(files.size()));
        total += files.size();
    }
    std::printf("tst_fuzzcorpus: %d inputs replayed, no property broken\n", total);
    return 0;
}
