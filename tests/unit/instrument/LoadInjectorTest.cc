#include "ClassMaker.h"
#include "instrument/LoadInjector.h"

using testing::ElementsAreArray;

// Of an instance method (Ljava/lang/String;[BII) in slots 0 to 4, hook 0017, called method 0018.
constexpr const char* kPrologue =
    "19 00 19 01 19 02 15 03 15 04 B8 0017"
    "3A 05 19 05 C6 000F 19 05 3A 02 03 36 03 19 02 BE 36 04";
constexpr const char* kParameters = "19 00 19 01 19 02 15 03 15 04";

static std::vector<BYTE> rewritten(const LoaderClass& cls, const DefineClassMethod& method) {
  const auto old = cls.make();
  const auto layout = readClassLayout(old);
  if (!layout) return {};
  return instrumentDefineClass(*layout, method).value_or(std::vector<BYTE>());
}

// What follows the old pool: entries 15 to 24.
static std::string newEntries(const std::string& name = "defineClass") {
  return utf8("velprobe$" + name) + "0C 000F 0006" + utf8("com/velora/bcm/bootstrap/BcmBootstrap") +
         utf8("instrumentClassStatic") + utf8("(Ljava/lang/ClassLoader;Ljava/lang/String;[BII)[B") +
         "07 0011  0C 0012 0013  0C 0005 0006  0A 0014 0015  0A 0004 0016";
}

static std::string newMethod(const std::string& access, const std::string& call,
                             const std::string& exceptions = "000A 00000004 0001 000C") {
  return access + "000F 0006 0002" + exceptions + "0009 0000003A  0005 0006 0000002E" + kPrologue +
         kParameters + call + "B0" + "0000 0000";
}

static std::string withMethod(const LoaderClass& cls, const std::string& count,
                              const std::string& method) {
  LoaderClass redirected = cls;
  redirected.calls = "0A 0002 0010";
  return "CAFEBABE" + cls.version + "0019" + redirected.pool() + newEntries() + cls.fields() +
         count + cls.methods.substr(4) + method + LoaderClass::attributes();
}

TEST(LoadInjector, EveryByteOfARewrittenClass) {
  const LoaderClass plain;
  EXPECT_THAT(rewritten(plain, defineClassMethod()),
              ElementsAreArray(bytes(withMethod(plain, "0002", newMethod("0002", "B6 0018")))));
}

TEST(LoadInjector, HowTheMethodIsCalled) {
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"declared here, overridable", "0001", "0021", "B6 0018"},
      {"declared here, private", "0002", "0021", "B7 0018"},
      {"declared here, final", "0011", "0021", "B7 0018"},
      {"in a final class", "0001", "0031", "B7 0018"},
      {"another flag", "0101", "0421", "B6 0018"},
  };
  for (const auto& [why, methodAccess, classAccess, call] : cases) {
    SCOPED_TRACE(why);
    LoaderClass cls;
    cls.access = classAccess;
    cls.methods = std::string("0001") + methodAccess + "0005 0006 0000";
    EXPECT_THAT(rewritten(cls, defineClassMethod()),
                ElementsAreArray(bytes(withMethod(cls, "0002", newMethod("0002", call)))));
  }
}

// Of several declarations and calls the last one counts; every call is redirected.
TEST(LoadInjector, SeveralCalls) {
  const std::string same = utf8("defineClass") + utf8(kDefineClass) + "0C 000F 0010 0A 0004 0011";
  LoaderClass cls;
  const std::string old = "CAFEBABE 0000 002F 0013" + cls.pool() + same + cls.fields() +
                          cls.methods + LoaderClass::attributes();
  const auto data = bytes(old);
  const auto layout = readClassLayout(data);
  ASSERT_TRUE(layout);
  const auto result = instrumentDefineClass(*layout, defineClassMethod());
  ASSERT_TRUE(result);
  const auto after = readClassLayout(*result);
  ASSERT_TRUE(after);
  const ConstantPool& pool = *after->pool;
  EXPECT_EQ(pool.count, 0x13 + 10);
  for (const USHORT call : {8, 0x12}) {
    EXPECT_EQ(pool.operand(call, 0), 2);
    EXPECT_EQ(pool.operand(call, 1), 0x14);
  }
  EXPECT_EQ(pool.operand(0x14, 1), 0x10);  // the later descriptor
  EXPECT_EQ(pool.operand(0x1A, 0), 0x0F);  // the later name
}

TEST(LoadInjector, NamesThatTheClassDoesNotHaveAreWrittenAsZero) {
  LoaderClass cls;
  cls.thrown = utf8("java/lang/SecurityException");
  EXPECT_THAT(rewritten(cls, defineClassMethod()),
              ElementsAreArray(bytes(withMethod(
                  cls, "0002", newMethod("0002", "B6 0018", "000A 00000004 0001 0000")))));
}

TEST(LoadInjector, ClassesThatAreLeftAlone) {
  constexpr const char* kLoader = "java/lang/ClassLoader";
  auto nameless = defineClassMethod();
  nameless.methodName = nullptr;
  const std::pair<LoaderClass, DefineClassMethod> cases[] = {
      {{}, defineClassMethod("p/Loader", "java/lang/Object")},
      {{}, defineClassMethod("p/Loader", kLoader, "()V")},
      {{}, defineClassMethod("p/Loader", kLoader, kDefineClass, "defineClass0")},
      {{}, nameless},
      {{.code = utf8("Cod_")}, defineClassMethod()},
      {{.calls = "0B 0004 0007"}, defineClassMethod()},  // of an interface
  };
  for (const auto& [cls, method] : cases) EXPECT_EQ(rewritten(cls, method).size(), 0U);
}

static std::vector<BYTE> withPool(std::size_t count) {
  const LoaderClass cls;
  auto data = bytes("CAFEBABE 0000 002F" + u2(count) + cls.pool());
  for (std::size_t i = 15; i < count; ++i) data.insert(data.end(), {3, 0, 0, 0, 0});
  const auto rest = bytes(cls.fields() + cls.methods + LoaderClass::attributes());
  data.insert(data.end(), rest.begin(), rest.end());
  return data;
}

TEST(LoadInjector, APoolHasRoomForTenMoreOrIsLeftAlone) {
  for (const auto& [count, fits] : {std::pair(65525, true), std::pair(65526, false)}) {
    const auto data = withPool(static_cast<std::size_t>(count));
    const auto layout = readClassLayout(data);
    ASSERT_TRUE(layout);
    const auto result = instrumentDefineClass(*layout, defineClassMethod());
    ASSERT_EQ(result.has_value(), fits) << count;
    if (result) {
      EXPECT_EQ(readClassLayout(*result)->pool->count, 65535);
    }
  }
}

TEST(LoadInjector, MethodsHaveRoomForOneMoreOrAreLeftAlone) {
  for (const auto& [count, fits] : {std::pair(65534, true), std::pair(65535, false)}) {
    LoaderClass cls;
    cls.methods = u2(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) cls.methods += "0401000500060000";
    const auto result = rewritten(cls, defineClassMethod());
    ASSERT_EQ(!result.empty(), fits) << count;
    if (fits) {
      EXPECT_EQ(readClassLayout(result)->methodCount, 65535);
    }
  }
}

TEST(LoadInjector, WrapperBodies) {
  const DefineClassMethod plain = defineClassMethod();
  const auto instance = generateWrapperMethod(0x21, 0, plain, 0x17, 0x18);
  ASSERT_TRUE(instance);
  EXPECT_EQ(instance->max_stack, 5);
  EXPECT_EQ(instance->max_locals, 6);
  EXPECT_TRUE(instance->exception_table.empty());

  // Static: slots from 0 on, a long and a double take two each; N is 9.
  auto wide = defineClassMethod("p/X", "p/X", "(Ljava/lang/ClassLoader;J[BDIIF)Ljava/lang/Class;");
  wide.parameterIndex = {0, 0, 3, 6, 7};
  const auto body = generateWrapperMethod(0x31, 0x000A, wide, 0x0102, 0x0304);
  ASSERT_TRUE(body);
  EXPECT_EQ(body->max_stack, 9);
  EXPECT_EQ(body->max_locals, 10);
  EXPECT_THAT(body->code,
              ElementsAreArray(bytes("19 00 19 00 19 03 15 06 15 07 B8 0102 3A 09 19 09 C6 000F"
                                     "19 09 3A 03 03 36 06 19 03 BE 36 07"
                                     "19 00 16 01 19 03 18 04 15 06 15 07 17 08 B8 0304 B0")));
}

TEST(LoadInjector, WrapperOfTheMostParametersAndOneMore) {
  for (const auto& [parameters, fits] : {std::pair(254, true), std::pair(255, false)}) {
    const std::string descriptor =
        "(" + std::string(static_cast<std::size_t>(parameters), 'I') + ")Ljava/lang/Class;";
    const auto method = defineClassMethod("p/X", "p/X", descriptor.c_str());
    const auto body = generateWrapperMethod(0x21, 0, method, 1, 2);
    ASSERT_EQ(body.has_value(), fits) << parameters;
    if (body) {
      EXPECT_EQ(body->max_stack, 255);
    }
  }
  EXPECT_FALSE(generateWrapperMethod(0, 0, defineClassMethod("p/X", "p/X", "(I"), 1, 2));
}

TEST(LoadInjector, AStaticMethodGetsAStaticWrapper) {
  LoaderClass cls;
  cls.methods = "0001 010A 0005 0006 0000";  // private static native
  const auto result = rewritten(cls, defineClassMethod());
  const auto layout = readClassLayout(result);
  ASSERT_TRUE(layout);
  const std::vector<BYTE> added(layout->methods + 8, layout->methods + 14);
  EXPECT_THAT(added, ElementsAreArray(bytes("000A 000F 0006")));
}

TEST(LoadInjector, OnlyTheClassThatIsMeant) {
  const auto data = LoaderClass().make();
  auto used = defineClassMethod("p/Loader");
  used.instrumented = 1;
  const std::pair<DefineClassMethod, bool> cases[] = {{defineClassMethod("p/Loader"), true},
                                                      {defineClassMethod("p/Loade"), false},
                                                      {defineClassMethod("p/LoaderX"), false},
                                                      {used, false}};
  for (auto [method, expected] : cases) {
    WorkingClass work(data, *readClassLayout(data));
    EXPECT_EQ(instrumentLoader(method, work), expected) << method.fromClassName;
    EXPECT_EQ(work.changed(), expected);
  }
}
