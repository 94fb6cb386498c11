#include "mkimage/firmwareimage.h"

#include <algorithm>
#include <cstring>

namespace kelp::mkimage {
namespace {

constexpr std::size_t kRecordSize = 16;
constexpr std::size_t kMainAddress = 0x0040;

constexpr ImageInfo kImages[] = {
    {"SAR_KELP.hex", 0x1200, 0x5A41, "KELP SAR measurement firmware (virtual board image)"},
    {"SD_KELP.hex", 0x1600, 0x5D31, "KELP sigma-delta measurement firmware (virtual board image)"},
    {"58X_SDkelp.hex", 0x1C00, 0x5D58,
     "KELP 58X sigma-delta measurement firmware (virtual board image)"},
};

// xorshift64*, our own so the images never depend on a library's generator.
class Random {
public:
    explicit Random(uint64_t seed) : state_(seed ? seed : 1) {}
    unsigned below(unsigned bound) {
        state_ ^= state_ >> 12;
        state_ ^= state_ << 25;
        state_ ^= state_ >> 27;
        return static_cast<unsigned>((state_ * 0x2545F4914F6CDD1DULL) >> 33) % bound;
    }

private:
    uint64_t state_;
};

enum class Operand { None, Immediate, Direct, Bit, Relative, DirectImmediate, DirectRelative };

struct Instruction {
    uint8_t opcode;
    Operand operand;
};

// A working set of common instructions. AJMP and ACALL are left out: their page-relative
// targets would have to be worked out, and plain LCALLs read just as well.
constexpr Instruction kInstructions[] = {
    {0x74, Operand::Immediate},        // MOV A,#data
    {0xE5, Operand::Direct},           // MOV A,direct
    {0xF5, Operand::Direct},           // MOV direct,A
    {0x75, Operand::DirectImmediate},  // MOV direct,#data
    {0xE8, Operand::None},             // MOV A,R0
    {0xF9, Operand::None},             // MOV R1,A
    {0xE6, Operand::None},             // MOV A,@R0
    {0xF7, Operand::None},             // MOV @R1,A
    {0xE0, Operand::None},             // MOVX A,@DPTR
    {0xF0, Operand::None},             // MOVX @DPTR,A
    {0xA3, Operand::None},             // INC DPTR
    {0x04, Operand::None},             // INC A
    {0x14, Operand::None},             // DEC A
    {0x24, Operand::Immediate},        // ADD A,#data
    {0x34, Operand::Immediate},        // ADDC A,#data
    {0x54, Operand::Immediate},        // ANL A,#data
    {0x44, Operand::Immediate},        // ORL A,#data
    {0x64, Operand::Immediate},        // XRL A,#data
    {0xC4, Operand::None},             // SWAP A
    {0x33, Operand::None},             // RLC A
    {0xE4, Operand::None},             // CLR A
    {0xC3, Operand::None},             // CLR C
    {0xD2, Operand::Bit},              // SETB bit
    {0xC2, Operand::Bit},              // CLR bit
    {0x30, Operand::DirectRelative},   // JNB bit,rel
    {0x20, Operand::DirectRelative},   // JB bit,rel
    {0xD8, Operand::Relative},         // DJNZ R0,rel
    {0x70, Operand::Relative},         // JNZ rel
    {0x60, Operand::Relative},         // JZ rel
    {0xC0, Operand::Direct},           // PUSH direct
    {0xD0, Operand::Direct},           // POP direct
    {0x00, Operand::None},             // NOP
};

// Special function registers the measurement firmware works with.
constexpr uint8_t kRegisters[] = {0x80, 0x81, 0x82, 0x83, 0x87, 0x88, 0x89, 0x8A, 0x8B,
                                  0x8C, 0x8D, 0x90, 0x98, 0x99, 0xA0, 0xA8, 0xB0, 0xB8,
                                  0xC8, 0xCA, 0xCB, 0xCC, 0xCD, 0xD0, 0xD8, 0xD9, 0xDA,
                                  0xE0, 0xEF, 0xF0, 0xF8, 0xF9, 0xFA, 0xFB, 0xFC, 0xFD};

class Assembler {
public:
    explicit Assembler(std::vector<uint8_t>& code, std::size_t at) : code_(code), at_(at) {}
    std::size_t address() const { return at_; }
    void emit(std::initializer_list<uint8_t> bytes) {
        for (uint8_t b : bytes) code_[at_++] = b;
    }
    void ljmp(std::size_t target) { emit({0x02, hi(target), lo(target)}); }
    void lcall(std::size_t target) { emit({0x12, hi(target), lo(target)}); }
    void movDptr(std::size_t value) { emit({0x90, hi(value), lo(value)}); }

    static uint8_t hi(std::size_t v) { return static_cast<uint8_t>(v >> 8); }
    static uint8_t lo(std::size_t v) { return static_cast<uint8_t>(v); }

private:
    std::vector<uint8_t>& code_;
    std::size_t at_;
};

void emitRandomInstruction(Assembler& out, Random& random) {
    const Instruction& ins = kInstructions[random.below(std::size(kInstructions))];
    const auto reg = [&] { return kRegisters[random.below(std::size(kRegisters))]; };
    const auto rel = [&] {
        return static_cast<uint8_t>(random.below(24) + (random.below(2) ? 0 : 0xE8));
    };
    const auto data = [&] { return static_cast<uint8_t>(random.below(256)); };
    switch (ins.operand) {
        case Operand::None:
            return out.emit({ins.opcode});
        case Operand::Immediate:
            return out.emit({ins.opcode, data()});
        case Operand::Direct:
            return out.emit({ins.opcode, reg()});
        case Operand::Bit:
            return out.emit({ins.opcode, static_cast<uint8_t>(random.below(128))});
        case Operand::Relative:
            return out.emit({ins.opcode, rel()});
        case Operand::DirectImmediate:
            return out.emit({ins.opcode, reg(), data()});
        case Operand::DirectRelative:
            return out.emit({ins.opcode, static_cast<uint8_t>(random.below(128)), rel()});
    }
}

}  // namespace

std::span<const ImageInfo> images() { return kImages; }

std::vector<uint8_t> imageCode(const ImageInfo& image) {
    std::vector<uint8_t> code(image.codeSize, 0xFF);
    Random random(image.seed);
    const std::size_t bannerLength = std::strlen(image.banner) + 1;
    const std::size_t bannerAt = image.codeSize - bannerLength;

    // Reset vector, then the interrupt vectors: serial and ADC have handlers, the rest RETI.
    Assembler vectors(code, 0);
    vectors.ljmp(kMainAddress);
    std::vector<std::size_t> handlerSlots;
    for (std::size_t vector = 0x03; vector < kMainAddress; vector += 8) {
        Assembler slot(code, vector);
        if (vector == 0x23 || vector == 0x33) {
            handlerSlots.push_back(vector);
            slot.ljmp(0);  // patched below, once the handlers exist
        } else {
            slot.emit({0x32});
        }
    }

    // Start-up: stack, serial port and timers, then the main loop far below.
    Assembler out(code, kMainAddress);
    out.emit({0x75, 0x81, 0x60, 0x75, 0x98, 0x52, 0x75, 0x89, 0x21, 0x75, 0x8D, 0xFD, 0xD2, 0x8E,
              0x75, 0xA8, 0x90});
    const std::size_t mainLoopJump = out.address();
    out.ljmp(0);  // patched below

    // Subroutines until the banner; each may call earlier ones.
    std::vector<std::size_t> routines;
    const std::size_t room = bannerAt - 48;  // a routine never runs past this point
    while (out.address() + 48 < room) {
        routines.push_back(out.address());
        const unsigned length = 6 + random.below(22);
        for (unsigned i = 0; i < length && out.address() + 8 < room; ++i) {
            if (routines.size() > 1 && random.below(9) == 0) {
                out.lcall(routines[random.below(static_cast<unsigned>(routines.size() - 1))]);
            } else if (random.below(12) == 0) {
                out.movDptr(bannerAt + random.below(static_cast<unsigned>(bannerLength)));
            } else {
                emitRandomInstruction(out, random);
            }
        }
        out.emit({0x22});  // RET
    }

    // Main loop and interrupt handlers in what is left before the banner.
    const std::size_t mainLoop = out.address();
    for (int i = 0; i < 4; ++i)
        out.lcall(routines[random.below(static_cast<unsigned>(routines.size()))]);
    out.emit({0x80, static_cast<uint8_t>(0x100 - (out.address() + 2 - mainLoop))});  // SJMP
    Assembler(code, mainLoopJump).ljmp(mainLoop);
    for (std::size_t slot : handlerSlots) {
        Assembler(code, slot).ljmp(out.address());
        out.emit({0xC0, 0xE0, 0xC0, 0xD0});  // PUSH ACC, PUSH PSW
        out.lcall(routines[random.below(static_cast<unsigned>(routines.size()))]);
        out.emit({0xD0, 0xD0, 0xD0, 0xE0, 0x32});  // POP PSW, POP ACC, RETI
    }

    std::memcpy(code.data() + bannerAt, image.banner, bannerLength);
    return code;
}

std::string intelHex(std::span<const uint8_t> code) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    const auto put = [&text](unsigned byte, unsigned& sum) {
        text += kDigits[(byte >> 4) & 15];
        text += kDigits[byte & 15];
        sum += byte;
    };
    for (std::size_t offset = 0; offset < code.size(); offset += kRecordSize) {
        const std::size_t count = std::min(kRecordSize, code.size() - offset);
        unsigned sum = 0;
        text += ':';
        put(static_cast<unsigned>(count), sum);
        put(static_cast<unsigned>(offset >> 8), sum);
        put(static_cast<unsigned>(offset & 0xFF), sum);
        put(0x00, sum);
        for (std::size_t i = 0; i < count; ++i) put(code[offset + i], sum);
        unsigned ignored = 0;
        put((0x100 - (sum & 0xFF)) & 0xFF, ignored);
        text += "\r\n";
    }
    return text + ":00000001FF\r\n";
}

}  // namespace kelp::mkimage
