// The JSON conformance corpus (shared test data, beside the checkout): every
// file, read as raw bytes, through the parser and through ConvertToMvResult
// for several types.
// y_ files must parse, n_ files must be rejected, i_ files may go either way;
// nothing may crash. There are no known exceptions: the parser is expected to
// give the conforming verdict on every y_ and n_ file.
#include <dirent.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "core/result_converter.h"
#include "core_test_values.h"
#include "support/test_support.h"

namespace {

using core_test::LogCapture;
using morvanta::ConvertToMvResult;
using morvanta::JSValue;
using morvanta::MvAccountInfo;
using morvanta::MvMember;

struct CorpusFile {
  std::string name;
  std::string bytes;
  char verdict;  // 'y', 'n' or 'i'
};

// The corpus lies beside the checkout, in the shared test data.
std::string CorpusDir() { return morvanta_test::SourceDir() + "/../shared/testdata/jsontestsuite"; }

std::vector<CorpusFile> LoadCorpus(const std::string& dir) {
  std::vector<CorpusFile> files;
  DIR* d = opendir(dir.c_str());
  if (!d) return files;
  while (dirent* entry = readdir(d)) {
    std::string name = entry->d_name;
    if (name.size() < 7 || name.compare(name.size() - 5, 5, ".json") != 0 || name[1] != '_') {
      continue;
    }
    std::ifstream in(dir + "/" + name, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    files.push_back({name, bytes, name[0]});
  }
  closedir(d);
  std::sort(files.begin(), files.end(),
            [](const CorpusFile& a, const CorpusFile& b) { return a.name < b.name; });
  return files;
}

class JsonCorpusTest : public testing::Test {
 protected:
  void SetUp() override {
    const std::string dir = CorpusDir();
    files_ = LoadCorpus(dir);
    // A missing corpus is a failure, not a reason to skip: these cases would
    // otherwise pass having looked at nothing.
    ASSERT_FALSE(files_.empty()) << "JSON conformance corpus not found at " << dir
                                 << " (the shared test data belongs beside the checkout)";
  }
  const CorpusFile* Find(const std::string& name) const {
    for (const auto& f : files_) {
      if (f.name == name) return &f;
    }
    ADD_FAILURE() << name << " missing from the corpus";
    return nullptr;
  }
  std::vector<CorpusFile> files_;
};

TEST_F(JsonCorpusTest, ParserVerdicts) {
  int counts[3] = {0, 0, 0};
  for (const CorpusFile& file : files_) {
    SCOPED_TRACE(file.name);
    JSValue out = JSValue("untouched");
    std::string error;
    bool accepted = morvanta::TryParseJson(file.bytes, out, &error);
    if (file.verdict == 'y') { EXPECT_TRUE(accepted) << error; }
    if (file.verdict == 'n') { EXPECT_FALSE(accepted); }
    if (accepted) {
      EXPECT_TRUE(error.empty());
      EXPECT_EQ(morvanta::ParseJsonToJSValue(file.bytes).type, out.type);
    } else {
      // A rejection names the fault and leaves no partial value behind.
      EXPECT_FALSE(error.empty());
      EXPECT_EQ(out.stringValue, "untouched");
      JSValue fallback = morvanta::ParseJsonToJSValue(file.bytes);
      EXPECT_TRUE(fallback.IsString());
      EXPECT_EQ(fallback.stringValue, file.bytes);
    }
    ++counts[file.verdict == 'y' ? 0 : file.verdict == 'n' ? 1 : 2];
  }
  // The corpus as shipped: a short count means files were not read.
  EXPECT_EQ(counts[0], 95);
  EXPECT_EQ(counts[1], 188);
  EXPECT_EQ(counts[2], 35);
}

TEST_F(JsonCorpusTest, SelectedFilesExactly) {
  struct Row {
    const char* file;
    bool accepted;
    const char* error;
  } rows[] = {
      // Both slipped through RapidJSON's own length-taking Parse().
      {"n_multidigit_number_then_00.json", false,
       "The document root must not be followed by other values."},
      {"n_structure_incomplete_UTF8_BOM.json", false, "Invalid value."},
      {"i_structure_UTF-8_BOM_empty_object.json", true, ""},
      {"n_structure_100000_opening_arrays.json", false, ""},
      {"n_structure_open_array_object.json", false, ""},
      {"i_structure_500_nested_arrays.json", true, ""},
      {"i_number_huge_exp.json", false, "Number too big to be stored in double."},
  };
  for (const Row& row : rows) {
    const CorpusFile* file = Find(row.file);
    if (!file) continue;
    JSValue out;
    std::string error;
    EXPECT_EQ(morvanta::TryParseJson(file->bytes, out, &error), row.accepted) << row.file;
    if (*row.error) { EXPECT_EQ(error, row.error) << row.file; }
  }

  if (const CorpusFile* f = Find("y_object_duplicated_key.json")) {
    JSValue v = morvanta::ParseJsonToJSValue(f->bytes);
    ASSERT_TRUE(v.Find("a"));
    EXPECT_EQ(v.Find("a")->stringValue, "c");  // the last duplicate wins
  }
  if (const CorpusFile* f = Find("y_string_null_escape.json")) {
    JSValue v = morvanta::ParseJsonToJSValue(f->bytes);
    ASSERT_EQ(v.arrayValue.size(), 1u);
    EXPECT_EQ(v.arrayValue[0].stringValue, std::string(1, '\0'));
  }
  if (const CorpusFile* f = Find("i_structure_500_nested_arrays.json")) {
    JSValue v = morvanta::ParseJsonToJSValue(f->bytes);
    int depth = 0;
    for (const JSValue* p = &v; p->IsArray(); p = &p->arrayValue[0]) {
      ++depth;
      if (p->arrayValue.empty()) break;
    }
    EXPECT_EQ(depth, 500);
  }

  const CorpusFile* digits = Find("n_multidigit_number_then_00.json");
  const CorpusFile* mixed = Find("y_array_heterogeneous.json");
  const CorpusFile* lonely = Find("y_structure_lonely_string.json");
  if (!digits || !mixed || !lonely) return;
  LogCapture log;
  // Not JSON-like text (it starts with a digit), so it reaches std::stoi.
  auto as_int = ConvertToMvResult<int>(JSValue(digits->bytes));
  auto members = ConvertToMvResult<std::vector<MvMember>>(JSValue(mixed->bytes));
  auto text = ConvertToMvResult<std::string>(JSValue(lonely->bytes));
  log.Take();
  EXPECT_EQ(as_int.code, 0);
  EXPECT_EQ(as_int.data.value_or(-1), 123);
  EXPECT_EQ(members.message, "JSDataConversion: Expected object for MvMember");
  EXPECT_EQ(text.data.value_or(""), "\"asd\"");
}

// Every file as the text of an SDK answer. The working value is the parsed
// document when the text starts (after blanks) with '{' or '[' and parses,
// else the text itself; the outcome per type follows from that.
TEST_F(JsonCorpusTest, ConversionOutcomes) {
  const std::string kInvalid = "Invalid data format for conversion";
  for (const CorpusFile& file : files_) {
    SCOPED_TRACE(file.name);
    // No corpus file carries the keys that steer the conversion.
    ASSERT_EQ(file.bytes.find("\"code\""), std::string::npos);
    ASSERT_EQ(file.bytes.find("\"result\""), std::string::npos);

    const JSValue input(file.bytes);
    size_t first = file.bytes.find_first_not_of(" \t\n\v\f\r");
    bool json_like = first != std::string::npos &&
                     (file.bytes[first] == '{' || file.bytes[first] == '[');
    JSValue working = input;
    if (json_like) morvanta::TryParseJson(file.bytes, working, nullptr);

    LogCapture log;  // the conversions log a lot; keep the test output readable
    auto as_void = ConvertToMvResult<void>(input);
    auto as_string = ConvertToMvResult<std::string>(input);
    auto as_int = ConvertToMvResult<int>(input);
    auto as_account = ConvertToMvResult<MvAccountInfo>(input);
    auto as_members = ConvertToMvResult<std::vector<MvMember>>(input);
    log.Take();

    EXPECT_EQ(as_void.code, 0);
    EXPECT_EQ(as_void.message, "");
    EXPECT_EQ(as_string.data.has_value() || as_int.data.has_value(), working.IsString());

    if (working.IsString()) {
      EXPECT_EQ(as_string.code, 0);
      EXPECT_EQ(as_string.data.value_or(""), file.bytes);
      if (as_int.code != 0) {
        // The message is the exception's what(), a C string: it ends at a NUL
        // byte of the text, as it would for the C caller anyway.
        EXPECT_EQ(as_int.message, "JSDataConversion: Cannot convert string to int: " +
                                      file.bytes.substr(0, file.bytes.find('\0')));
      }
      EXPECT_EQ(as_account.message, kInvalid);
      EXPECT_EQ(as_members.message, kInvalid);
    } else if (working.IsObject()) {
      EXPECT_EQ(as_string.message, kInvalid);
      EXPECT_EQ(as_int.message, kInvalid);
      EXPECT_EQ(as_account.message, "JSDataConversion: MvAccountInfo.userUuid is required");
      EXPECT_EQ(as_members.message, kInvalid);
    } else {
      ASSERT_TRUE(working.IsArray());
      EXPECT_EQ(as_string.message, kInvalid);
      EXPECT_EQ(as_int.message, kInvalid);
      EXPECT_EQ(as_account.message, kInvalid);
      bool all_objects = std::all_of(working.arrayValue.begin(), working.arrayValue.end(),
                                     [](const JSValue& e) { return e.IsObject(); });
      if (all_objects) {
        ASSERT_TRUE(as_members.data.has_value());
        EXPECT_EQ(as_members.data->size(), working.arrayValue.size());
      } else {
        EXPECT_EQ(as_members.message, "JSDataConversion: Expected object for MvMember");
      }
    }
    for (int32_t code : {as_string.code, as_int.code, as_account.code, as_members.code}) {
      EXPECT_TRUE(code == 0 || code == -1) << code;
    }
  }
}

}  // namespace
