#include "platform/fileMapping.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "support/openDescriptors.h"
#include "support/temporaryDirectory.h"

namespace tarvonel
{

TEST(fileMapping, holdsEveryByteAndOutlivesTheFilesName)
{
    const temporaryDirectory directory;
    const std::string path = directory / "content";
    constexpr std::size_t pageSize = 4096;
    for (const std::size_t size : {std::size_t{1}, pageSize, 3 * pageSize + 5})
    {
        std::string content(size, '\0');
        for (std::size_t index = 0; index < size; ++index)
            content[index] = static_cast<char>(index * 131 + 7);
        std::ofstream(path, std::ios::binary) << content;

        EXPECT_EQ(readableFileSize(path), static_cast<std::int64_t>(size));
        fileMapping mapping;
        ASSERT_EQ(mapFile(path, mapping), mappingResult::mapped);
        std::filesystem::remove(path);
        EXPECT_EQ(std::string(reinterpret_cast<const char *>(mapping.data), mapping.size), content);
        for (int round = 0; round < 2; ++round) // the second finds an empty record
        {
            EXPECT_EQ(unmapFile(mapping), 0U);
            EXPECT_EQ(mapping.data, nullptr);
            EXPECT_EQ(mapping.size, 0U);
        }
    }
}

TEST(fileMapping, anythingButAReadableFileLeavesTheRecordEmpty)
{
    const temporaryDirectory directory;
    std::ofstream(directory / "empty").close();
    struct
    {
        std::string path;
        mappingResult result;
        std::int64_t size;
    } const cases[] = {
        {directory / "missing", mappingResult::notFound, -1},
        {directory.path, mappingResult::notFound, -1},   // a directory opens, but is no file
        {directory / "empty", mappingResult::failed, 0}, // there is nothing to map
#ifndef _WIN32
        {"/dev/null", mappingResult::notFound, -1}, // nor is a device, which might have to be waited for
#endif
    };
    const std::ptrdiff_t descriptors = openDescriptors();
    for (const auto &c : cases)
    {
        EXPECT_EQ(readableFileSize(c.path), c.size) << c.path;
        const std::uint8_t elsewhere = 0;
        fileMapping mapping = {&elsewhere, 17, nullptr};
        unsigned long error = 0;
        EXPECT_EQ(mapFile(c.path, mapping, &error), c.result) << c.path;
        EXPECT_NE(error, 0U) << c.path;
        EXPECT_EQ(mapping.data, nullptr) << c.path;
        EXPECT_EQ(mapping.size, 0U) << c.path;
        EXPECT_EQ(openDescriptors(), descriptors) << c.path;
    }
}

#ifndef _WIN32
TEST(fileMapping, aTruncatedFileReadsAsZerosAndIsReportedAsDamaged)
{
    constexpr std::size_t size = 3 * 65536;
    const temporaryDirectory directory;
    const std::string content(size, 'x');
    for (const char *name : {"first", "second", "third"})
        std::ofstream(directory / name, std::ios::binary) << content;
    fileMapping mappings[3];
    ASSERT_EQ(mapFile(directory / "first", mappings[0]), mappingResult::mapped);
    ASSERT_EQ(mapFile(directory / "second", mappings[1]), mappingResult::mapped);
    ASSERT_EQ(mapFile(directory / "third", mappings[2]), mappingResult::mapped);
    std::filesystem::resize_file(directory / "second", size / 3);
    for (const fileMapping &mapping : mappings)
        EXPECT_EQ(mapping.data[0], 'x');
    EXPECT_FALSE(isDamaged(mappings[1])) << "nothing has been read beyond the end yet";

    EXPECT_EQ(mappings[1].data[size - 1], 0);
    std::ofstream(directory / "second", std::ios::binary) << content; // a repaired file is not trusted again
    for (std::size_t i = 0; i < size; i += 4096)
        EXPECT_EQ(mappings[1].data[i], 0) << i;
    for (const std::size_t intact : {0, 2})
    {
        const fileMapping &mapping = mappings[intact];
        EXPECT_EQ(std::count(mapping.data, mapping.data + size, 'x'), static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(isDamaged(mapping)) << intact;
    }
    EXPECT_TRUE(isDamaged(mappings[1]));
    for (fileMapping &mapping : mappings)
        EXPECT_EQ(unmapFile(mapping), 0U);
}

TEST(fileMappingDeathTest, aBusErrorElsewhereStillEndsTheProcess)
{
    const temporaryDirectory directory;
    std::ofstream(directory / "content") << "x";
    fileMapping mapping;
    ASSERT_EQ(mapFile(directory / "content", mapping), mappingResult::mapped);
    EXPECT_DEATH(std::raise(SIGBUS), "");
    unmapFile(mapping);
    EXPECT_DEATH(std::raise(SIGBUS), "");
}
#endif

} // namespace tarvonel
