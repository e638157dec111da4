/**
 * @file   write_adx_products.cpp
 * @brief  Writes the assembly of the Montgomery products of 3 to 16 limbs, and of chains of squares of 5 to 10, for
 * processors with BMI2 and ADX.
 *
 * The build runs this program and assembles its output into the library. One description serves all sizes: they differ
 * only in the number of registers of a row and in their order.
 *
 * Adding the row a b[i] to an accumulator takes two chains of carries, one through the low and one through the high
 * halves of the products. mulx does not change the flags, adcx carries in CF only and adox in OF only, so that both
 * chains run in one pass over the row, one cycle per limb product. The accumulator stays in registers, and after a row
 * its lowest limb is finished: it goes to memory and its register becomes the top limb of the next row. Up to ten
 * limbs are one such strip; more limbs are divided into two strips of nearly equal width.
 *
 * CSource/Shared/kernel/README.md describes the reduction and proves its bounds.
 */

#include <algorithm>
#include <fstream>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

namespace {

using Registers = std::vector<std::string>;

/** Places in kesh::kernel::Modulus<n>, in arrays of n limbs. */
enum class Part { zero = 2, complement = 3, mu = 4 };

constexpr int limb_size = 8;
constexpr int longest_strip = 10;
constexpr int longest_triangle = 12;
constexpr int least_signed = 5;  ///< signed_residue.h has the squarings of fewer limbs

/** A limb array in memory: a register with its address, and the index of the first limb. */
struct Array {
    std::string address;
    int first = 0;

    [[nodiscard]] std::string operator[](int i) const {
        return std::to_string(limb_size * (first + i)) + "(" + address + ")";
    }
    [[nodiscard]] Array from(int i) const {
        return {address, first + i};
    }
};

/**
 * The functions of one size. Registers: rax and rbx take the halves of a product, rdx the factor of a row, rsi and rbp
 * the operands, rsi also the modulus; rdi is 0 or, like the others, an accumulator, and so is rbp in a reduction.
 */
class Size {
  public:
    Size(std::ostream& out, int limbs)
        : out_(out), n(limbs), low(limbs <= longest_strip ? 0 : limbs / 2), high(limbs - low) {}

    /**
     * r = a b / R - c: rdi = r, rsi = a, rdx = b, rcx = modulus, r8 = the limbs of R - 1 - c, or null for c = 0.
     * r = a^2 / R - c: rdi = r, rsi = a, rdx = modulus, rcx the same; r8 = how many times, for more than once with r
     * in the place of a. Both end in the same reduction, so that the loops, which take them in turns, stay in the
     * processor's cache of decoded instructions.
     */
    void write() {
        begin("sqr", "%rdx", "%rcx");
        line("movq", "%r8", times);
        out_ << "4:\n";
        triangles();
        doubling();
        begin_reduction(kept());
        line("jmp 1f");
        end("sqr");
        begin("mul", "%rcx", "%r8");
        line("movq", "$1", times);
        line("movq %rdx, %rbp");
        product();
        begin_reduction(0);
        out_ << "1:\n";
        reduction();
        line("decq " + times);
        line("movq", result_address, "%rsi");
        line("jnz 4b");
        leave();
        end("mul");
        if (least_signed <= n && low == 0) write_signed_squares();
    }

  private:
    std::ostream& out_;
    const int n;          ///< limbs
    const int low, high;  ///< limbs of the lower strip, 0 where one strip is enough, and of the upper one
    std::string zero_;    ///< an operand that is 0

    Array a{"%rsi"};
    const Array b{"%rbp"};
    /**
     * On the stack: the product of 2 n limbs, limbs that a strip of the reduction has finished or, of one strip, the
     * residue with a sign, four addresses, a flag, a zero, a count and two quotients.
     */
    const Array z{"%rsp"}, finished{"%rsp", 2 * n};
    const std::string result_address = Array{"%rsp", 3 * n}[0], modulus_address = Array{"%rsp", 3 * n}[1],
                      complement_address = Array{"%rsp", 3 * n}[2], carry_into_high_half = Array{"%rsp", 3 * n}[3],
                      memory_zero = Array{"%rsp", 3 * n}[4], times = Array{"%rsp", 3 * n}[5],
                      first_quotient = Array{"%rsp", 3 * n}[6], second_quotient = Array{"%rsp", 3 * n}[7],
                      subtracted = Array{"%rsp", 3 * n}[8];

    [[nodiscard]] Array part(Part which) const {
        return {"%rsi", n * static_cast<int>(which)};
    }
    /** The limbs of 1/m mod 2^128. */
    [[nodiscard]] std::string inverse(int i) const {
        return Array{"%rsi", 6 * n}[1 + i];
    }

    void line(const std::string& text) {
        out_ << '\t' << text << '\n';
    }
    void line(const std::string& operation, const std::string& from, const std::string& to) {
        line(operation + " " + from + ", " + to);
    }

    void begin(const char* operation, const std::string& modulus, const std::string& complement) {
        const std::string name = "kesh_adx_" + std::string(operation) + "_" + std::to_string(n);
        out_ << "\n\t.globl " << name << "\n\t.hidden " << name << "\n\t.type " << name << ", @function\n\t.p2align 5\n"
             << name << ":\n\t.cfi_startproc\n";
        int offset = 16;
        for (const char* saved : {"%rbx", "%rbp", "%r12", "%r13", "%r14", "%r15"}) {
            line(std::string("pushq ") + saved);
            line(".cfi_adjust_cfa_offset 8");
            line(std::string(".cfi_offset ") + saved + ", -" + std::to_string(offset));
            offset += 8;
        }
        line("subq $" + std::to_string(frame()) + ", %rsp");
        line(".cfi_adjust_cfa_offset " + std::to_string(frame()));
        line("movq", "%rdi", result_address);
        line("movq", modulus, modulus_address);
        line("movq", complement, complement_address);
    }

    void leave() {
        line("addq $" + std::to_string(frame()) + ", %rsp");
        line(".cfi_adjust_cfa_offset -" + std::to_string(frame()));
        for (const char* saved : {"%r15", "%r14", "%r13", "%r12", "%rbp", "%rbx"}) {
            line(std::string("popq ") + saved);
            line(".cfi_adjust_cfa_offset -8");
            line(std::string(".cfi_restore ") + saved);
        }
        line("ret");
    }

    void end(const char* operation) {
        const std::string name = "kesh_adx_" + std::string(operation) + "_" + std::to_string(n);
        out_ << "\t.cfi_endproc\n\t.size " << name << ", .-" << name << '\n';
    }

    [[nodiscard]] int frame() const {
        return limb_size * (3 * n + 9);
    }

    /** In a product rbp is no accumulator but the address of b. */
    [[nodiscard]] static Registers accumulators(int count, bool with_rbp = false) {
        Registers all = {"%r8", "%r9", "%r10", "%r11", "%r12", "%r13", "%r14", "%r15", "%rcx"};
        if (with_rbp) all.emplace_back("%rbp");
        all.emplace_back("%rdi");
        return {all.begin(), all.begin() + count};
    }
    static std::string half(const std::string& name) {  // the lower half of r8 ... r15 and of rcx and the like
        return name[2] >= 'a' ? "%e" + name.substr(2) : name + "d";
    }
    /** A row adds zero with a carry twice: from a register, or from memory if the strip uses all registers. */
    void keep_zero(int strip) {
        zero_ = strip == longest_strip ? memory_zero : "%rdi";
        if (strip == longest_strip)
            line("movq", "$0", memory_zero);
        else
            clear(zero_);
    }
    void clear(const std::string& name) {
        line("xorl", half(name), half(name));
    }

    /** Clears both carries. rbx holds nothing between rows. */
    void clear_carries() {
        line("xorl %ebx, %ebx");
    }

    /**
     * Adds rdx times the limbs of `source`, one for each register, and starts the limb above them in `top`, which
     * cannot overflow. `after_first` is done when the lowest limb is finished.
     */
    template <class Action>
    void add_row(const Array& source, const Registers& sum, const std::string& top, Action after_first) {
        clear_carries();
        const int count = static_cast<int>(sum.size());
        for (int j = 0; j < count; ++j) {
            const bool last = j + 1 == count;
            if (last && j == 0) after_first();
            line("mulx " + source[j] + ", %rax, " + (last ? top : "%rbx"));
            line("adcx", "%rax", sum[static_cast<std::size_t>(j)]);
            if (last) break;
            if (j == 0) after_first();
            line("adox", "%rbx", sum[static_cast<std::size_t>(j + 1)]);
        }
        line("adcx", zero_, top);
        line("adox", zero_, top);
    }

    /**
     * rdx times the limbs of `source`, with nothing to add to, in one chain of carries: the lowest limbs, one or two,
     * go to `lowest` and the others to the registers.
     */
    void first_row(const Array& source, const Registers& sum, const Registers& lowest) {
        const int done = static_cast<int>(lowest.size()), count = done + static_cast<int>(sum.size()) - 1;
        std::string above;
        for (int j = 0; j < count; ++j) {
            const std::string below = above;
            above = j + 1 < done ? "%rbx" : sum[static_cast<std::size_t>(j + 1 - done)];
            line("mulx " + source[j] + ", %rax, " + above);
            if (j > 0) line(j == 1 ? "addq" : "adcq", "%rax", below);
            if (j < done) line("movq", j == 0 ? "%rax" : below, lowest[static_cast<std::size_t>(j)]);
        }
        line("adcq $0, " + above);
    }

    /** A row of a product: its lowest limb goes to `low_limb`. */
    void product_row(const Array& source, Registers& sum, const std::string& low_limb) {
        const std::string lowest = sum.front();
        add_row(source, sum, lowest, [&] { line("movq", lowest, low_limb); });
        std::rotate(sum.begin(), sum.begin() + 1, sum.end());
    }

    /**
     * A row of the reduction: the lowest limb is the quotient, which is kept in `quotient` if that is not empty, and
     * vanishes. mu has one limb less than `sum`.
     */
    void quotient_row(const Array& mu, Registers& sum, const std::string& quotient) {
        const std::string lowest = sum.front();
        line("movq", lowest, "%rdx");
        if (!quotient.empty()) line("movq", lowest, quotient);
        add_row(mu, {sum.begin() + 1, sum.end()}, lowest, [] {});
        std::rotate(sum.begin(), sum.begin() + 1, sum.end());
    }

    /** sum += rdx times a source of one limb less; carry += the carry. */
    void closing_row(const Array& source, const Registers& sum, const std::string& carry) {
        clear_carries();
        for (std::size_t j = 0; j + 1 < sum.size(); ++j) {
            line("mulx " + source[static_cast<int>(j)] + ", %rax, %rbx");
            line("adcx", "%rax", sum[j]);
            line("adox", "%rbx", sum[j + 1]);
        }
        line("adcx", zero_, sum.back());
        line("adox", zero_, carry);
        line("adcx", zero_, carry);
    }

    void load(const Registers& names, const Array& from) {
        for (std::size_t i = 0; i < names.size(); ++i) line("movq", from[static_cast<int>(i)], names[i]);
    }
    void store(const Registers& names, const Array& to) {
        for (std::size_t i = 0; i < names.size(); ++i) line("movq", names[i], to[static_cast<int>(i)]);
    }

    /**
     * x = x^2 / R modulo m, in place, `times` times one after another, for a residue with a sign: rdi = x, its n limbs
     * and its sign, rsi = modulus, rdx = times. signed_residue.h describes the bounds.
     */
    void write_signed_squares() {
        begin("signed_sqr", "%rsi", "%rdx");
        line("movq", "%rdx", times);
        a = {"%rsp", 2 * n};
        const Registers all = accumulators(n + 1, true);
        load(all, {"%rdi"});
        store({all.begin(), all.end() - 1}, a);
        choose_subtracted(all.back());
        out_ << "4:\n";
        triangles();
        line("movq", subtracted, "%rax");
        for (int j = 0; j < n; ++j) {
            line("movq", Array{"%rax"}[j], "%rbx");
            line(j == 0 ? "subq" : "sbbq", "%rbx", z[n + j]);
        }
        doubling();
        begin_reduction(kept());
        const auto [limbs, sign] = signed_reduction();
        line("decq " + times);
        line("jnz 4b");
        line("movq", result_address, "%rax");
        store(limbs, {"%rax"});
        line("movq", sign, Array{"%rax"}[n]);
        leave();
        end("signed_sqr");
    }

    /** The address of what is subtracted: of the residue if its sign is all ones, else of a zero. */
    void choose_subtracted(const std::string& sign) {
        line("leaq " + a[0] + ", %rax");
        line("leaq " + part(Part::zero)[0] + ", %rbx");
        line("subq %rbx, %rax");
        line("andq", sign, "%rax");
        line("addq %rbx, %rax");
        line("movq", "%rax", subtracted);
    }

    /** x = z / R, a residue with a sign: its limbs, also in memory, and the sign. */
    std::pair<Registers, std::string> signed_reduction() {
        Registers sum = accumulators(n + 1, true);
        for (int i = 0; i + 2 < n; ++i) quotient_row(part(Part::mu), sum, "");
        line("movq", sum[0], "%rdx");
        line("mulx " + inverse(0) + ", %rax, %rbx");
        line("imulq", inverse(1), "%rdx");
        line("addq %rdx, %rbx");
        line("movq", sum[1], "%rdx");
        line("imulq", inverse(0), "%rdx");
        line("addq %rdx, %rbx");
        line("movq", "%rbx", second_quotient);
        line("movq", "%rax", first_quotient);
        line("movq %rax, %rdx");
        std::string carry;
        for (int i = 0; i < 2; ++i) {
            if (i == 1) line("movq", second_quotient, "%rdx");
            carry = sum.front();
            closing_row(part(Part::complement), sum, carry);
            std::rotate(sum.begin(), sum.begin() + 1, sum.end());
        }
        sum.pop_back();
        const auto top = static_cast<std::size_t>(n - 1);
        line("movq", first_quotient, "%rax");
        line("subq", "%rax", sum[top - 1]);
        line("sbbq", "%rdx", sum[top]);
        line("sbbq $0, " + carry);
        for (int j = 0; j < n; ++j) line(j == 0 ? "addq" : "adcq", z[n + j], sum[static_cast<std::size_t>(j)]);
        line("adcq $0, " + carry);
        store(sum, a);
        choose_subtracted(carry);
        return {sum, carry};
    }

    /** z = a b. */
    void product() {
        keep_zero(n);
        Registers sum = accumulators(low > 0 ? low : n);
        line("movq", b[0], "%rdx");
        first_row(a, sum, {z[0]});
        for (int i = 1; i < n; ++i) {
            line("movq", b[i], "%rdx");
            product_row(a, sum, z[i]);
        }
        store(sum, z.from(n));
        if (low == 0) return;

        // The upper strip begins with what the lower one left at its place, up to limb n, and meets the rest of it
        // after `low` rows, with a carry into limb n + low.
        sum = accumulators(high);
        load(sum, z.from(low));
        for (int i = 0; i < low; ++i) {
            line("movq", b[i], "%rdx");
            product_row(a.from(low), sum, z[low + i]);
        }
        for (int j = 0; j < low; ++j)
            line(j == 0 ? "addq" : "adcq", z[n + j], sum[static_cast<std::size_t>(high - low + j)]);
        line("setc %al");
        line("movzbl %al, %eax");
        line("movq", "%rax", finished[0]);
        for (int i = low; i < n; ++i) {
            line("movq", b[i], "%rdx");
            product_row(a.from(low), sum, z[low + i]);
        }
        line("addq", finished[0], sum[0]);
        for (int j = 1; j < high; ++j) line("adcq", "$0", sum[static_cast<std::size_t>(j)]);
        store(sum, z.from(n + low));
    }

    /**
     * z = the products a[i] a[j], i < j < count. After row i two more limbs are finished, so that their registers are
     * free: it takes no more than count - 1.
     */
    void first_triangle(int count) {
        Registers free = accumulators(std::min(count - 1, 11), true), sum;
        const auto take = [&] {
            sum.push_back(free.back());
            free.pop_back();
        };
        while (static_cast<int>(sum.size()) < count - 2) take();
        line("movq", "$0", z[0]);
        line("movq", a[0], "%rdx");
        first_row(a.from(1), sum, {z[1], z[2]});
        for (int i = 1; i + 1 < count; ++i) {
            line("movq", a[i], "%rdx");
            const Registers row = sum;
            take();
            add_row(a.from(i + 1), row, sum.back(), [] {});
            for (int k = 1; k <= 2; ++k) {
                line("movq", sum.front(), z[2 * i + k]);
                free.push_back(sum.front());
                sum.erase(sum.begin());
            }
        }
        line("movq", "$0", z[2 * count - 1]);
    }

    /**
     * to += the products source[i] source[j], i < j, of as many limbs as `sum` has registers, which hold what lies
     * there already.
     */
    void triangle(const Array& source, Registers sum, const Array& to) {
        const int count = static_cast<int>(sum.size());
        for (int i = 0; i + 1 < count; ++i) {
            const std::string lowest = sum.front();
            line("movq", lowest, to[2 * i]);
            line("movq", source[i], "%rdx");
            add_row(source.from(i + 1), {sum.begin() + 1, sum.end()}, lowest, [] {});
            line("movq", sum[1], to[2 * i + 1]);
            sum.erase(sum.begin(), sum.begin() + 2);
            sum.push_back(lowest);
        }
        line("movq", sum.front(), to[2 * count - 2]);
        line("movq", "$0", to[2 * count - 1]);
    }

    /** z = the products a[i] a[j], i < j. */
    void triangles() {
        const int count = n <= longest_triangle ? n : low;
        keep_zero(n <= longest_triangle ? n - 2 : n);
        first_triangle(count);
        if (count == n) return;
        Registers sum;
        sum = accumulators(high);
        load({sum.begin(), sum.begin() + low}, z.from(low));
        if (high > low) clear(sum.back());
        for (int i = 0; i < low; ++i) {
            line("movq", a[i], "%rdx");
            product_row(a.from(low), sum, z[low + i]);
        }
        triangle(a.from(low), sum, z.from(2 * low));
    }

    /** z = 2 z + the squares a[i]^2. */
    void doubling() {
        const Registers first = accumulators(kept());
        const auto limb = [&](int k, const char* other) {
            return k < kept() ? first[static_cast<std::size_t>(k)] : std::string(other);
        };
        line("xorl %eax, %eax");
        for (int i = 0; i < n; ++i) {
            const std::string even = limb(2 * i, "%rbp"), odd = limb(2 * i + 1, "%rdi");
            line("movq", a[i], "%rdx");
            line("movq", z[2 * i], even);
            line("movq", z[2 * i + 1], odd);
            line("mulx %rdx, %rax, %rbx");
            line("adcx", even, even);
            line("adox", "%rax", even);
            line("adcx", odd, odd);
            line("adox", "%rbx", odd);
            if (2 * i >= kept()) line("movq", even, z[2 * i]);
            if (2 * i + 1 >= kept()) line("movq", odd, z[2 * i + 1]);
        }
    }

    /** The last row's quotient from the lowest limb, to rdx. */
    void last_quotient(const std::string& lowest) {
        line("movq", inverse(0), "%rdx");
        line("imulq", lowest, "%rdx");
    }

    /** Limbs of a square that the doubling leaves in the registers where the reduction expects them. */
    [[nodiscard]] int kept() const {
        return low == 0 ? std::min(n, 9) : low + 1;
    }

    /** The lowest limbs of z in the registers of the reduction, which holds the first `present` of them already. */
    void begin_reduction(int present) {
        line("movq", modulus_address, "%rsi");
        keep_zero(n);
        const Registers sum = low == 0 ? accumulators(n + 1, true) : accumulators(low + 1);
        const int limbs = low == 0 ? n : low + 1;
        for (int i = present; i < limbs; ++i) line("movq", z[i], sum[static_cast<std::size_t>(i)]);
        if (low == 0) clear(sum.back());
    }

    /**
     * r = z / R, a residue below R: n - 1 rows with mu and one with the complement of the modulus. rbp = 1 if the sum
     * exceeds R and -1 if it is negative; it selects the value that is added at the end.
     */
    void reduction() {
        if (low == 0)
            short_reduction();
        else
            long_reduction();
    }

    /**
     * R - m, 0, m or 2 m for `carry` = 1, 0, -1 or -2, which is multiplied by n. The next squaring waits for
     * it: where one or two steps of one cycle each do this, they replace the multiplication.
     */
    [[nodiscard]] Array choose(const std::string& carry) {
        int left = n, doublings = 0;
        for (; left % 2 == 0; left /= 2) ++doublings;
        if (left == 1 || left == 3 || left == 5 || left == 9) {
            if (left > 1) line("leaq (" + carry + "," + carry + "," + std::to_string(left - 1) + "), " + carry);
            if (doublings > 0) line("shlq $" + std::to_string(doublings) + ", " + carry);
        } else {
            line("imulq $" + std::to_string(n) + ", " + carry + ", " + carry);
        }
        return {"%rsi," + carry + "," + std::to_string(limb_size), part(Part::zero).first};
    }

    /**
     * The end of the reduction: the limbs, of which the first are finished in memory and the others are in registers,
     * with the high half of z and less c, a second chain of carries. The carry of the sum u, -2 m < u < R + m,
     * determines the value that brings it below R: R - m, that is -m, for 1, and 2 m for -2. For -1 it is m if u >= -m,
     * else 2 m, and the top limb decides: let T be that of R - m, W = 2^(64 (n-1)). If the top limb of u + R is above
     * T, then u + R > R - m. If not, then u + 2 m < (T + 1) W - R + 2 (R - T W) = R - (T - 1) W, which is enough for
     * T > 0, a precondition where c is given.
     */
    void finish(const Registers& sum, const std::string& carry) {
        const int in_memory = n - static_cast<int>(sum.size());
        const Array complement{"%rbx"}, r{"%rdx"};
        const auto limb = [&](int j) { return j < in_memory ? "%rax" : sum[static_cast<std::size_t>(j - in_memory)]; };
        const auto each_limb = [&](const Array& to, auto action) {
            for (int j = 0; j < n; ++j) {
                if (j < in_memory) line("movq", finished[j], "%rax");
                action(j);
                if (j < in_memory || to.address != finished.address) line("movq", limb(j), to[j]);
            }
        };
        line("movq", complement_address, "%rbx");
        if (low > 0) line("movq", carry_into_high_half, "%rax");
        line("testq %rbx, %rbx");
        line("jz 2f");

        // OF = 1, which makes R - c of R - 1 - c, and CF = the carry that waits: 127 + 1 or 128 + 128 as bytes.
        if (low > 0) {
            line("imull $127, %eax, %edx");
            line("incl %edx");
            line("addl $127, %eax");
            line("addb %dl, %al");
        } else {
            line("movb $127, %al");
            line("addb $1, %al");
        }
        each_limb(finished, [&](int j) {
            line("adcx", z[n + j], limb(j));
            line("adox", complement[j], limb(j));
        });
        line("adcx", zero_, carry);
        line("adox", zero_, carry);
        line("decq " + carry);
        line("movq", part(Part::complement)[n - 1], "%rax");
        line("cmpq", sum.back(), "%rax");
        line("setae %al");
        line("cmpq $-1, " + carry);
        line("sete %dl");
        line("andb %dl, %al");
        line("movzbl %al, %eax");
        line("subq", "%rax", carry);
        line("jmp 3f");

        out_ << "2:\n";
        if (low > 0) line("addq $-1, %rax");
        each_limb(finished, [&](int j) { line(j == 0 && low == 0 ? "addq" : "adcq", z[n + j], limb(j)); });
        line("adcq $0, " + carry);
        out_ << "3:\n";
        const Array chosen = choose(carry);
        line("movq", result_address, "%rdx");
        each_limb(r, [&](int j) { line(j == 0 ? "addq" : "adcq", chosen[j], limb(j)); });
    }

    void short_reduction() {
        Registers sum = accumulators(n + 1, true);
        for (int i = 0; i + 1 < n; ++i) quotient_row(part(Part::mu), sum, "");
        last_quotient(sum.front());
        // The row makes the lowest limb 0, so that its register can take the carry. (It is written before that is
        // needed.)
        const std::string carry = sum.front();
        closing_row(part(Part::complement), sum, carry);
        line("subq", "%rdx", sum.back());
        line("sbbq $0, " + carry);
        sum.erase(sum.begin());
        finish(sum, carry);
    }

    void long_reduction() {
        const Array mu_low = part(Part::mu), mu_high = part(Part::mu).from(low);
        // Rows 0 ... low - 1. Their quotients need the lower strip of mu only.
        Registers sum = accumulators(low + 1);
        for (int i = 0; i < low; ++i) quotient_row(mu_low, sum, z[i]);
        line("movq", sum.front(), z[low]);
        sum.erase(sum.begin());
        // The upper strip goes on with the registers of the lower one, at limb low + 1.
        widen(sum, high);
        for (int i = 0; i < low; ++i) {
            line("movq", z[i], "%rdx");
            product_row(mu_high, sum, finished[i]);
        }
        // The limbs that it has now belong to the high half of z, which is needed later.
        for (int i = 0; i < high; ++i)
            line(i == 0 ? "addq" : "adcq", sum[static_cast<std::size_t>(i)], z[2 * low + 1 + i]);
        for (int i = n + low + 1; i < 2 * n; ++i) line("adcq", "$0", z[i]);
        line("movl $0, %ebp");
        line("adcq $0, %rbp");

        // Rows low ... n - 1 begin with what the upper strip finished, and with z below limb n. The carry into limb n
        // waits.
        sum = accumulators(low + 1);
        load({sum.begin(), sum.begin() + (n - low)}, z.from(low));
        for (int j = 1; j < n - low; ++j)
            line(j == 1 ? "addq" : "adcq", finished[j - 1], sum[static_cast<std::size_t>(j)]);
        line("movl $0, %eax");
        line("adcq $0, %rax");
        line("movq", "%rax", carry_into_high_half);
        if (high == low) line("movq", finished[low - 1], sum.back());
        for (int i = low; i + 1 < n; ++i) quotient_row(mu_low, sum, z[i]);
        last_quotient(sum.front());
        line("movq", "%rdx", z[0]);
        line("movq", "%rbp", z[1]);
        line("xorl %ebp, %ebp");
        closing_row(part(Part::complement), sum, "%rbp");
        sum.erase(sum.begin());
        // sum is at limb n now and rbp at limb n + low; the upper strip begins at limb 2 low + 1, n or n + 1.
        int done = 0;
        if (high == low) {
            line("movq", sum.front(), finished[done++]);
            sum.erase(sum.begin());
        }
        widen(sum, high);
        line("movq", "%rbp", sum.back());
        line("movq", z[1], "%rbp");
        for (int i = low; i + 2 < n; ++i) {
            line("movq", z[i], "%rdx");
            product_row(mu_high, sum, finished[done++]);
        }
        widen(sum, high + 1);
        line("movq", z[n - 2], "%rdx");
        closing_row(mu_high, sum, "%rbp");
        line("movq", z[0], "%rdx");
        closing_row(part(Part::complement).from(low), sum, "%rbp");
        line("subq", "%rdx", sum.back());
        line("sbbq $0, %rbp");

        finish(sum, "%rbp");
    }

    /** Appends registers with zeros up to `width`. */
    void widen(Registers& sum, int width) {
        for (const std::string& name : accumulators(9)) {
            if (static_cast<int>(sum.size()) == width) break;
            if (std::find(sum.begin(), sum.end(), name) != sum.end()) continue;
            clear(name);
            sum.push_back(name);
        }
    }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: write_adx_products FILE\n";
        return 2;
    }
    std::ofstream out(argv[1]);
    out << "# Montgomery products by mulx, adcx and adox. Written by write_adx_products.\n\t.text\n";
    for (int n = 3; n <= 16; ++n) Size(out, n).write();
    out << "\n\t.section .note.GNU-stack,\"\",@progbits\n";
    out.close();
    if (!out) {
        std::cerr << "write_adx_products: cannot write " << argv[1] << '\n';
        return 1;
    }
    return 0;
}
