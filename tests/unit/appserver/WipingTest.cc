// Nothing that is given back to the heap still holds a password, clear or scrambled.
#include <malloc.h>

#include "Credentials.h"

constexpr const char kPassword[] = "Tell-nobody-0815";
// The high half of its first letter: 5, XORed with the key.
constexpr const char* kScrambledT = "\x74\x26\x51\x7F\x3D\x24\x68\x72\x5B\x57\x37\x6E\x20\x49\x75";

static std::atomic<bool> watching{false};
static std::atomic<int> blocksSeen{0};
static std::atomic<int> blocksTold{0};

static void giveBack(void* block) noexcept {
  if (!block) return;
  if (watching) {
    ++blocksSeen;
    const std::size_t size = malloc_usable_size(block);
    if (memmem(block, size, kPassword, 8) || memmem(block, size, kScrambledT, 15)) {
      ++blocksTold;
      std::memset(block, 0, size);  // the next owner of the block is innocent
    }
  }
  std::free(block);
}

void* operator new(std::size_t size) {
  if (void* block = std::malloc(size ? size : 1)) return block;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* block) noexcept { giveBack(block); }
void operator delete(void* block, std::size_t) noexcept { giveBack(block); }
void operator delete[](void* block) noexcept { giveBack(block); }
void operator delete[](void* block, std::size_t) noexcept { giveBack(block); }

class Wiping : public testing::Test {
 protected:
  Wiping() { settings(home, "internal.mask.passwords=YES\n"); }
  ~Wiping() override { watching = false; }
  Home home;
};

TEST_F(Wiping, TheWatchSeesWhatIsNotWiped) {
  watching = true;
  delete[] strcpy(new char[sizeof kPassword], kPassword);
  watching = false;
  EXPECT_EQ(blocksTold.exchange(0), 1);
}

TEST_F(Wiping, NoBlockTellsThePassword) {
  const std::string path = home.path("etc/admin");
  testing::internal::CaptureStdout();
  watching = true;
  {
    VelEncryptor encryptor;
    EXPECT_EQ(encryptor.generatePasswordFile("ann", kPassword, path.c_str()), 0);
    const auto found = encryptor.readCredentials(path.c_str(), kWord);
    EXPECT_TRUE(found && std::strcmp(found->password.get(), kPassword) == 0);
  }
  watching = false;
  testing::internal::GetCapturedStdout();
  EXPECT_GT(blocksSeen, 5);
  EXPECT_EQ(blocksTold, 0);
}
