#include "ui/slot_files.h"

#include <QDir>
#include <QFile>
#include <QMimeData>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <filesystem>

namespace Vantor {
namespace {

class SlotFiles : public testing::Test {
protected:
    QString write(const QString& name, const QByteArray& content) const {
        QFile file(directory.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return file.fileName();
    }
    static std::optional<DroppedFile> drop(const char* mimeType, const QString& path) {
        QMimeData data;
        data.setData(QLatin1String(mimeType), path.toUtf8());
        EXPECT_TRUE(hasSlotFileFormat(data));
        return droppedFile(data);
    }

    QTemporaryDir directory;
};

TEST_F(SlotFiles, ADropIsTakenWhenFormatAndSuffixAgree) {
    const struct {
        const char* mimeType;
        const char* name;
        std::optional<SlotFileKind> kind;
    } cases[] = {
        {kGpcSourceMimeType, "a.gpc", SlotFileKind::gpcSource},
        {kGpcBytecodeMimeType, "ü ö.GBC", SlotFileKind::gpcBytecode},
        {kInputTranslatorMimeType, "two.dots.Git", SlotFileKind::inputTranslator},
        {kGpcSourceMimeType, "b.gbc", {}},
        {kGpcBytecodeMimeType, "b.gpc", {}},
        {kInputTranslatorMimeType, "b.git.gpc", {}},
        {kGpcSourceMimeType, "gpc", {}},
    };
    for (const auto& each : cases) {
        const auto dropped = drop(each.mimeType, write(QString::fromUtf8(each.name), "content"));
        ASSERT_EQ(dropped.has_value(), each.kind.has_value()) << each.name;
        if (!dropped)
            continue;
        EXPECT_EQ(dropped->kind, *each.kind) << each.name;
        QString error;
        EXPECT_EQ(readSlotFile(*dropped->file, 100, error), QByteArray("content"));
    }
}

TEST_F(SlotFiles, ADropThatNamesNoProperFileIsIgnored) {
    const QString file = write(QStringLiteral("a.gpc"), "x");
    QDir(directory.path()).mkdir(QStringLiteral("directory.gpc"));
    EXPECT_TRUE(drop(kGpcSourceMimeType, file));
    EXPECT_FALSE(drop(kGpcSourceMimeType, QString()));
    EXPECT_FALSE(drop(kGpcSourceMimeType, directory.filePath(QStringLiteral("missing.gpc"))));
    EXPECT_FALSE(drop(kGpcSourceMimeType, directory.filePath(QStringLiteral("directory.gpc"))));
    const QString before = QDir::currentPath();
    QDir::setCurrent(directory.path());
    EXPECT_FALSE(drop(kGpcSourceMimeType, QStringLiteral("a.gpc")));
    if (QDir::rootPath() == u'/') {
        EXPECT_TRUE(QFile::copy(file, directory.path() + QStringLiteral("/:b.gpc")));
        EXPECT_FALSE(drop(kGpcSourceMimeType, QStringLiteral(":b.gpc")));
    } else { // a drive's own working directory, and the drive of the working directory
        EXPECT_FALSE(drop(kGpcSourceMimeType, file.first(2) + QStringLiteral("a.gpc")));
        EXPECT_FALSE(drop(kGpcSourceMimeType, file.sliced(2)));
        EXPECT_TRUE(drop(kGpcSourceMimeType, QStringLiteral("\\\\?\\") + QDir::toNativeSeparators(file)));
    }
    QDir::setCurrent(before);
    // The system would read it as the path before the zero.
    EXPECT_FALSE(drop(kGpcSourceMimeType, file + QChar::Null + QStringLiteral(".gpc")));
}

TEST_F(SlotFiles, AFileOf65536BytesIsTheLargestThatCanBeDropped) {
    EXPECT_TRUE(drop(kGpcSourceMimeType, write(QStringLiteral("a.gpc"), QByteArray(65536, ' '))));
    EXPECT_FALSE(drop(kGpcSourceMimeType, write(QStringLiteral("b.gpc"), QByteArray(65537, ' '))));
}

TEST_F(SlotFiles, ALinkCanBePickedButNotDropped) {
    const QString link = directory.filePath(QStringLiteral("link.gpc"));
    std::error_code error;
    std::filesystem::create_symlink(write(QStringLiteral("secret.txt"), "x").toStdU16String(),
                                    link.toStdU16String(), error);
    if (error)
        GTEST_SKIP() << "no symbolic links here: " << error.message();
    EXPECT_FALSE(drop(kGpcSourceMimeType, link));
    EXPECT_TRUE(openSlotFile(link));
}

TEST_F(SlotFiles, OtherDataIsNoDrop) {
    QMimeData data;
    data.setText(write(QStringLiteral("a.gpc"), "x"));
    EXPECT_FALSE(hasSlotFileFormat(data));
    EXPECT_FALSE(droppedFile(data));
}

TEST_F(SlotFiles, ReadingEndsOneByteBehindTheLimit) {
    const auto file = openSlotFile(write(QStringLiteral("a"), QByteArray(1000, 'x')));
    ASSERT_TRUE(file);
    QString error;
    EXPECT_EQ(readSlotFile(*file, 99, error)->size(), 100);
}

} // namespace
} // namespace Vantor
