#pragma once

#include <gtest/gtest.h>

#include <optional>

#include "platform/files.h"

namespace brindle {

/// A backend offers `files` and `root`, a path below which nothing exists yet.
template <class Backend>
class FilesContract : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(files().makeFolder(root())); }
  Files& files() { return backend.files; }
  std::string root() const { return backend.root; }
  std::string at(const std::string& name) const { return joinPath(backend.root, name); }
  void write(const std::string& name, std::string_view text) {
    ASSERT_TRUE(files().writeWhole(at(name), viewOf(text)));
  }
  std::string text(const std::string& name) {
    const auto content = files().read(at(name));
    return content ? std::string(textOf(*content)) : "(unreadable)";
  }
  template <class T>
  static std::optional<FileError::Kind> kindOf(const FileResult<T>& result) {
    if (result) return std::nullopt;
    return result.error().kind;
  }

  Backend backend;
};
TYPED_TEST_SUITE_P(FilesContract);

TYPED_TEST_P(FilesContract, WritesWholeFilesAndListsThemSorted) {
  this->write("b", "first");
  this->write("a", "");
  this->write("b", "second");
  const std::string large(300'000, '\0');
  this->write("c", large);
  EXPECT_EQ(this->text("a"), "");
  EXPECT_EQ(this->text("b"), "second");
  EXPECT_EQ(this->text("c"), large);
  EXPECT_TRUE(this->files().writeUnflushed(this->at("b"), viewOf("third")));
  EXPECT_EQ(this->text("b"), "third");
  ASSERT_TRUE(this->files().makeFolder(this->at("folder/inside")));
  ASSERT_TRUE(this->files().makeFolder(this->at("folder/inside"))) << "made already";
  using Names = std::vector<std::string>;
  EXPECT_EQ(this->files().list(this->root()), (Names{"a", "b", "c", "folder"}));
  EXPECT_EQ(this->files().list(this->at("folder")), (Names{"inside"}));
  EXPECT_EQ(this->files().exists(this->at("folder")), true);
  EXPECT_EQ(this->files().exists(this->at("a")), true);
  EXPECT_EQ(this->files().exists(this->at("a/below a file")), false);
  EXPECT_TRUE(this->files().flushFolder(this->root()));
}

TYPED_TEST_P(FilesContract, NamesAreNeverTakenFromOthers) {
  using Kind = FileError::Kind;
  this->write("one", "1");
  this->write("two", "2");
  EXPECT_EQ(this->kindOf(this->files().renameNew(this->at("one"), this->at("two"))), Kind::exists);
  EXPECT_EQ(this->kindOf(this->files().hardLink(this->at("one"), this->at("two"))), Kind::exists);
  ASSERT_TRUE(this->files().hardLink(this->at("one"), this->at("kept")));
  this->write("one", "new");
  EXPECT_EQ(this->text("kept"), "1") << "a second name keeps what it named";
  ASSERT_TRUE(this->files().renameNew(this->at("two"), this->at("three")));
  EXPECT_EQ(this->text("three"), "2");
  EXPECT_EQ(this->files().list(this->root()), (std::vector<std::string>{"kept", "one", "three"}));
}

TYPED_TEST_P(FilesContract, SaysWhatIsMissingOrOfAnotherKind) {
  using Kind = FileError::Kind;
  const std::string none = this->at("none");
  EXPECT_EQ(this->kindOf(this->files().read(none)), Kind::notFound);
  EXPECT_EQ(this->kindOf(this->files().remove(none)), Kind::notFound);
  EXPECT_EQ(this->kindOf(this->files().list(none)), Kind::notFound);
  EXPECT_EQ(this->kindOf(this->files().flushFolder(none)), Kind::notFound);
  EXPECT_EQ(this->kindOf(this->files().renameNew(none, this->at("to"))), Kind::notFound);
  EXPECT_EQ(this->kindOf(this->files().hardLink(none, this->at("to"))), Kind::notFound);
  EXPECT_EQ(this->kindOf(this->files().writeWhole(none + "/x", {})), Kind::notFound);
  EXPECT_EQ(this->files().exists(none), false);
  this->write("file", "content");
  EXPECT_EQ(this->kindOf(this->files().makeFolder(this->at("file"))), Kind::exists);
  EXPECT_EQ(this->kindOf(this->files().read(this->root())), Kind::other);
  EXPECT_EQ(this->kindOf(this->files().remove(this->root())), Kind::other);
  EXPECT_FALSE(this->files().writeWhole(this->root(), viewOf("x")));
  ASSERT_TRUE(this->files().remove(this->at("file")));
  EXPECT_EQ(this->files().list(this->root()), std::vector<std::string>{});
}

REGISTER_TYPED_TEST_SUITE_P(FilesContract, WritesWholeFilesAndListsThemSorted,
                            NamesAreNeverTakenFromOthers, SaysWhatIsMissingOrOfAnotherKind);

}  // namespace brindle
