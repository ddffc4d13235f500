// Images written to and read from tmpfs and a disk, beside libtiff used the obvious way and the bare system calls, and
// the clamp of signed samples beside the loops that one would write.

#include "Ardo/Kiln/ImageIO/ClampNegative_p.h"
#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "Ardo/Kiln/ImageIO/TiffReader.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <tiffio.h>
#include <unistd.h>

namespace Ardo::Kiln
{

namespace
{

constexpr std::size_t HugePage = std::size_t{2} << 20;

/// Pixels that begin on a page, as image buffers of whole pages do.
template <typename Sample>
std::shared_ptr<Sample> Pixels(std::size_t count)
{
    std::shared_ptr<Sample> pixels(static_cast<Sample*>(std::aligned_alloc(4096, count * sizeof(Sample))), &std::free);
    std::uint32_t state = 1;
    for (std::size_t i = 0; i < count; ++i)
    {
        state = state * 1664525u + 1013904223u;
        pixels.get()[i] = static_cast<Sample>(static_cast<std::int32_t>(state) >> 16);
    }
    return pixels;
}

struct Image
{
    std::uint32_t side;
    int bytes; ///< a sample
    std::shared_ptr<void> pixels;

    std::size_t Size() const { return std::size_t{side} * side * static_cast<std::size_t>(bytes); }
};

void WriteOurs(const std::string& path, const Image& image)
{
    const std::wstring name(path.begin(), path.end());
    ImageIO::TiffExporter exporter;
    if (image.bytes == 4)
    {
        exporter.WriteFloatImage(name, static_cast<const float*>(image.pixels.get()), image.side, image.side, nullptr);
    }
    else
    {
        exporter.WriteUInt16Image(name, static_cast<const std::uint16_t*>(image.pixels.get()), image.side, image.side,
                                  nullptr);
    }
}

void WriteLibtiff(const std::string& path, const Image& image)
{
    TIFF* const tiff = TIFFOpen(path.c_str(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, image.side);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, image.side);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8 * image.bytes);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, image.bytes == 4 ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 32);
    const std::size_t strip = image.Size() / (image.side / 32);
    for (std::uint32_t i = 0; i < image.side / 32; ++i)
    {
        TIFFWriteEncodedStrip(tiff, i, static_cast<char*>(image.pixels.get()) + i * strip,
                              static_cast<tmsize_t>(strip));
    }
    TIFFClose(tiff);
}

void WriteBare(const std::string& path, const Image& image)
{
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    benchmark::DoNotOptimize(::write(file, image.pixels.get(), image.Size()));
    ::close(file);
}

void ReadOurs(const std::string& path, const Image&)
{
    ImageIO::TiffReader reader;
    reader.Open(std::wstring(path.begin(), path.end()));
    benchmark::DoNotOptimize(reader.GetRawImageData());
}

void ReadLibtiff(const std::string& path, const Image& image)
{
    TIFF* const tiff = TIFFOpen(path.c_str(), "r");
    std::vector<unsigned char> pixels;
    pixels.resize(image.Size());
    const tmsize_t strip = TIFFStripSize(tiff);
    for (std::uint32_t i = 0; i < TIFFNumberOfStrips(tiff); ++i)
    {
        TIFFReadEncodedStrip(tiff, i, pixels.data() + i * static_cast<std::size_t>(strip), strip);
    }
    benchmark::DoNotOptimize(pixels.data());
    TIFFClose(tiff);
}

/// read(2) into memory that the system has to hand out, in huge pages where the image is large enough for them.
void ReadBare(const std::string& path, const Image& image)
{
    const std::size_t mapped = image.Size() + HugePage;
    auto* const begin = static_cast<unsigned char*>(
        ::mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    unsigned char* const aligned = begin + (HugePage - reinterpret_cast<std::uintptr_t>(begin) % HugePage) % HugePage;
    if (image.Size() >= HugePage)
    {
        ::madvise(aligned, image.Size(), MADV_HUGEPAGE);
    }
    const int file = ::open(path.c_str(), O_RDONLY);
    benchmark::DoNotOptimize(::read(file, aligned, image.Size()));
    ::close(file);
    ::munmap(begin, mapped);
}

/// The most memory that \p function takes beyond what the process has before it, in MiB, measured in a process of its
/// own.
double PeakMemory(const std::function<void()>& function)
{
    int pipe[2];
    if (::pipe(pipe) != 0)
    {
        return -1;
    }
    if (const pid_t child = ::fork(); child != 0)
    {
        double result = -1;
        ::close(pipe[1]);
        benchmark::DoNotOptimize(::read(pipe[0], &result, sizeof(result)));
        ::close(pipe[0]);
        ::waitpid(child, nullptr, 0);
        return result;
    }
    const auto peak = []
    {
        std::ifstream status("/proc/self/status");
        std::string word;
        double kib = 0;
        while (status >> word && word != "VmHWM:")
        {
        }
        status >> kib;
        return kib;
    };
    std::ofstream("/proc/self/clear_refs") << "5"; // the peak starts from what is there now
    const double before = peak();
    function();
    const double result = (peak() - before) / 1024;
    benchmark::DoNotOptimize(::write(pipe[1], &result, sizeof(result)));
    std::_Exit(0);
}

using Operation = void (*)(const std::string&, const Image&);

/// Registers \p operation on a file of its own; a file that is read is written first, and everybody reads the same
/// kind.
void Register(const std::string& name, const std::string& folder, const Image& image, Operation operation, bool reads)
{
    const std::string path = folder + "/kiln-benchmark-" + std::to_string(::getpid());
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state)
                                 {
                                     WriteOurs(path, image);
                                     for (auto _ : state)
                                     {
                                         operation(path, image);
                                     }
                                     if (operation == &ReadOurs || operation == &WriteOurs)
                                     {
                                         const double allowed =
                                             reads ? static_cast<double>(image.Size()) / (1 << 20) : 0;
                                         state.counters["beyond_image_MiB"] =
                                             PeakMemory([&] { operation(path, image); }) - allowed;
                                     }
                                     ::unlink(path.c_str());
                                 });
}

void RegisterFiles(const std::string& subject, const std::string& folder, const Image& image)
{
    Register("Tiff/Write/" + subject + "/ours", folder, image, &WriteOurs, false);
    Register("Tiff/Write/" + subject + "/peer", folder, image, &WriteLibtiff, false);
    Register("Tiff/Write/" + subject + "/limit", folder, image, &WriteBare, false);
    Register("Tiff/Read/" + subject + "/ours", folder, image, &ReadOurs, true);
    Register("Tiff/Read/" + subject + "/peer", folder, image, &ReadLibtiff, true);
    Register("Tiff/Read/" + subject + "/limit", folder, image, &ReadBare, true);
}

/// The obvious loop, as a build of level 2 makes it.
template <typename Sample>
[[gnu::optimize("O2"), gnu::noinline]] void ClampNaive(Sample* samples, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        if (samples[i] < 0)
        {
            samples[i] = 0;
        }
    }
}

template <typename Sample>
[[gnu::optimize("O3"), gnu::noinline]] void ClampMax(Sample* samples, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        samples[i] = std::max(samples[i], Sample{0});
    }
}

template <typename Sample>
void RegisterClamp(const std::string& subject, bool negative, const std::string& role,
                   void (*clamp)(Sample*, std::size_t))
{
    constexpr std::size_t Count = 4096 * 4096;
    benchmark::RegisterBenchmark(("Clamp/" + subject + "/" + role).c_str(),
                                 [=](benchmark::State& state)
                                 {
                                     const auto original = Pixels<Sample>(Count);
                                     if (!negative)
                                     {
                                         ClampMax(original.get(), Count);
                                     }
                                     const auto samples = Pixels<Sample>(Count);
                                     for (auto _ : state)
                                     {
                                         state.PauseTiming();
                                         std::memcpy(samples.get(), original.get(), Count * sizeof(Sample));
                                         state.ResumeTiming();
                                         clamp(samples.get(), Count);
                                         benchmark::ClobberMemory();
                                     }
                                 });
}

template <typename Sample>
void RegisterClamps(const std::string& subject)
{
    for (const bool negative : {true, false})
    {
        const std::string name = subject + (negative ? "HalfNegative" : "NoneNegative");
        RegisterClamp<Sample>(name, negative, "ours", &ImageIO::ClampNegative<Sample>);
        RegisterClamp<Sample>(name, negative, "peer:max", &ClampMax<Sample>);
        RegisterClamp<Sample>(name, negative, "peer:naive", &ClampNaive<Sample>);
    }
}

/// A signed image, half of it negative each time, beside an unsigned one.
void RegisterSigned()
{
    constexpr std::uint32_t Side = 4096;
    const auto original = Pixels<std::int16_t>(std::size_t{Side} * Side);
    const std::string path = "/dev/shm/kiln-benchmark-" + std::to_string(::getpid());
    const auto add = [=](const char* name, auto write)
    {
        benchmark::RegisterBenchmark(name,
                                     [=](benchmark::State& state)
                                     {
                                         const auto pixels = Pixels<std::int16_t>(std::size_t{Side} * Side);
                                         for (auto _ : state)
                                         {
                                             state.PauseTiming();
                                             std::memcpy(pixels.get(), original.get(), std::size_t{Side} * Side * 2);
                                             state.ResumeTiming();
                                             ImageIO::TiffExporter exporter;
                                             write(exporter, std::wstring(path.begin(), path.end()), pixels.get());
                                         }
                                         ::unlink(path.c_str());
                                     });
    };
    add("Tiff/WriteSigned/4096x4096/ours", [](auto& exporter, const auto& name, std::int16_t* pixels)
        { exporter.WriteInt16Image(name, pixels, Side, Side, nullptr); });
    add("Tiff/WriteSigned/4096x4096/peer:unsigned", [](auto& exporter, const auto& name, std::int16_t* pixels)
        { exporter.WriteUInt16Image(name, reinterpret_cast<std::uint16_t*>(pixels), Side, Side, nullptr); });
}

const bool Registered = []
{
    const Image large{4096, 2, Pixels<std::uint16_t>(4096 * 4096)};
    const Image floats{4096, 4, Pixels<float>(4096 * 4096)};
    const Image small{512, 2, Pixels<std::uint16_t>(512 * 512)};
    const char* const disk = std::getenv("TMPDIR");
    RegisterFiles("UInt16_4096_tmpfs", "/dev/shm", large);
    RegisterFiles("Float_4096_tmpfs", "/dev/shm", floats);
    RegisterFiles("UInt16_512_tmpfs", "/dev/shm", small);
    RegisterFiles("UInt16_4096_disk", disk != nullptr ? disk : "/tmp", large);
    RegisterFiles("Float_4096_disk", disk != nullptr ? disk : "/tmp", floats);
    RegisterSigned();
    RegisterClamps<std::int16_t>("Int16");
    RegisterClamps<std::int8_t>("Int8");
    return true;
}();

} // namespace

} // namespace Ardo::Kiln
