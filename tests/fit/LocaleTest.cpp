// SPDX-License-Identifier: MIT
// Pictures and meshes are the same bytes under every locale of the process and of the stream.

#include <stdlib.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <locale>
#include <sstream>

#include "knotwork/picture/CurvePicture.h"
#include "knotwork/picture/SurfaceMesh.h"
#include "knotwork/picture/SurfacePicture.h"
#include "tests/support/Testing.h"

namespace {

/// What a language does to numbers; the system's own locales are not always installed.
class Punctuation : public std::numpunct<char> {
  public:
    explicit Punctuation(char groups) : groups_(groups) {}

  protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return groups_; }
    std::string do_grouping() const override { return "\3"; }

  private:
    char groups_;
};

/// Makes a locale of the C library with a decimal comma, unless the system has no tool for that.
void makeCommaLocale(const std::string& directory, const char* name)
{
    std::ofstream(directory + "/source") << "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\n"
                                            "grouping -1\nEND LC_NUMERIC\n";
    const std::string command = "localedef -c --no-archive -i '" + directory + "/source' '" +
                                directory + "/" + name + "' >/dev/null 2>&1";
    if (std::system(command.c_str()) < 0) return;
    setenv("LOCPATH", directory.c_str(), 1);
}

/// Sets both locales of the process, and puts back what was there.
class LocaleScope {
  public:
    LocaleScope(const char* name, char groups)
        : cBefore_(std::setlocale(LC_ALL, nullptr)),
          before_(std::locale::global(std::locale(std::locale::classic(), new Punctuation(groups))))
    {
        for (const char* suffix : {"", ".UTF-8", ".utf8"})
            if (std::setlocale(LC_ALL, (std::string(name) + suffix).c_str()) != nullptr) break;
    }
    ~LocaleScope()
    {
        std::locale::global(before_);
        std::setlocale(LC_ALL, cBefore_.c_str());
    }

  private:
    std::string cBefore_;
    std::locale before_;
};

constexpr int kSide = 50;

std::string curvePicture()
{
    TtupleVector points(1, kSide, 0.0);
    const DoubleVec t(kSide, 0.0, 123.4);
    for (int i = 0; i < kSide; ++i) points(i)(0) = 1234.56789 * i * (i % 3);
    const auto basis = knotwork::BsplineBasis::uniform(3, 0.0, t(kSide - 1), 8);
    std::ostringstream os;
    writeCurveSvg(os, fitCurve(points, t, basis), points, t, {}, "a title");
    return os.str();
}

/// Both write surfaces in a stream.
template <class Write>
std::string surfaceText(Write write)
{
    TtupleMatrix points(1, kSide, kSide, 0.0);
    const DoubleVec t(kSide, 0.0, 6.5);
    for (int i = 0; i < kSide; ++i)
        for (int j = 0; j < kSide; ++j) points(i, j)(0) = 436047.866 + 17.3 * i * (j % 4);
    const auto basis = knotwork::BsplineBasis::uniform(3, 0.0, t(kSide - 1), 7);
    std::ostringstream os;
    write(os, fitSurface(points, t, t, basis, basis), points, t);
    return os.str();
}

std::string surfacePicture()
{
    return surfaceText([](auto& os, const auto& surface, const auto& points, const auto& t) {
        writeSurfaceSvg(os, surface, points, t, t, "a title");
    });
}

std::string surfaceMesh()  // more than 999 vertices
{
    return surfaceText(
        [](auto& os, const auto& surface, auto&, auto&) { writeSurfaceObj(os, surface, 5); });
}

TEST(LocaleTest, NumbersAreWrittenAsEverywhere)
{
    struct Language {
        const char* name;
        char groups;
    };
    const std::pair<const char*, std::function<std::string()>> writers[] = {
        {"curve picture", curvePicture},
        {"surface picture", surfacePicture},
        {"mesh", surfaceMesh}};
    std::string directory = testing::TempDir() + "locales.XXXXXX";
    ASSERT_NE(mkdtemp(directory.data()), nullptr);
    for (const char* name : {"fr_FR", "de_DE"}) makeCommaLocale(directory, name);
    for (const auto& [what, writer] : writers) {
        const std::string expected = writer();
        ASSERT_GT(expected.size(), 1000U) << what;
        for (const Language& language : {Language{"fr_FR", ' '}, Language{"de_DE", '.'}}) {
            const LocaleScope scope(language.name, language.groups);
            EXPECT_TRUE(writer() == expected) << what << " in " << language.name << ", decimal "
                                              << std::localeconv()->decimal_point;
        }
    }
    unsetenv("LOCPATH");
    std::filesystem::remove_all(directory);
}

}  // namespace
