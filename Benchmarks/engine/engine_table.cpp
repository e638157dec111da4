/**
 * @file   engine_table.cpp
 * @brief  The table of docs/integer-engine.md: cycles of the engine's operations beside GMP, Boost.Multiprecision and
 *         FLINT, at 128, 256, 512 and 1024 bits.
 *
 * Each figure is the least over several rounds of the thread's processor time for a call, in cycles of the processor's
 * speed of that moment. A round runs through 16 sets of operands, so that nothing depends on one value; results are
 * written to memory that the compiler must assume to be read. Peers work on objects that exist before, as in a careful
 * program: the only timed allocations are those inside a peer's function.
 *
 *     engine_table [word in the operation's name]
 */

#include <gmp.h>
#include <time.h>

#include <algorithm>
#include <boost/multiprecision/cpp_int.hpp>
#include <boost/version.hpp>
#include <cstdio>
#include <cstring>
#include <optional>
#include <random>
#include <vector>

#include "Shared/fastdiv.h"
#include "Shared/isqrt.h"
#include "Shared/mont.h"
#include "common/cycle.h"
// Included last, because its macros have names that the engine uses.
#include <flint/fmpz.h>

namespace {

using namespace kesh;
namespace mp = boost::multiprecision;

constexpr std::size_t sets = 16;

double thread_nanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

/** Makes the compiler assume that the object behind the pointer is read and written. */
void touch(const void* object) {
    asm volatile("" : : "r"(object) : "memory");
}

double cycle = 0.3;  ///< nanoseconds

/** Cycles of call(i), i a set of operands. */
template <class Call>
double cycles(Call call) {
    std::size_t rounds = 1;
    double best = 1e18;
    for (int repetition = 0; repetition < 12; ++repetition) {
        double taken = 0;
        for (;;) {
            const double start = thread_nanoseconds();
            for (std::size_t round = 0; round < rounds; ++round) {
                for (std::size_t i = 0; i < sets; ++i) call(i);
            }
            taken = thread_nanoseconds() - start;
            if (taken > 300'000) break;
            rounds *= 2;
        }
        best = std::min(best, taken / static_cast<double>(rounds * sets));
    }
    return best / cycle;
}

/** Cycles of one operation at one width: ours and those of the peers that have it. */
struct Figures {
    double ours;
    std::optional<double> gmp, boost, flint;
};

/** The operands at one width as each library holds them. */
template <mint N>
struct Operands {
    using Word = uintx_t<N>;
    using Boost = mp::number<mp::cpp_int_backend<N, N, mp::unsigned_magnitude, mp::unchecked, void>>;
    using Twice = mp::number<mp::cpp_int_backend<2 * N, 2 * N, mp::unsigned_magnitude, mp::unchecked, void>>;
    static constexpr std::size_t n = Word::limbs;

    // An array for each operand, as for those of the peers: at 128 bits the address is a part of the time. b < m, m is
    // odd with its top bit set, half below 2^(N/2).
    std::vector<Word> a = std::vector<Word>(sets), b = a, m = a, half = a;
    std::vector<umint> limb = std::vector<umint>(sets);
    std::vector<mint> count = std::vector<mint>(sets);
    std::vector<std::string> text = std::vector<std::string>(sets);
    std::vector<Boost> boost_a, boost_b, boost_m, boost_half;
    std::vector<Twice> boost_ba;
    std::vector<mpz_t> z_a = std::vector<mpz_t>(sets), z_b = std::vector<mpz_t>(sets), z_m = std::vector<mpz_t>(sets),
                       z_half = std::vector<mpz_t>(sets), z_ba = std::vector<mpz_t>(sets);
    std::vector<fmpz> f_a = std::vector<fmpz>(sets), f_b = f_a, f_m = f_a, f_half = f_a, f_ba = f_a;

    static Boost boost_of(const Word& a) {
        Boost r;
        mp::import_bits(r, a.limb, a.limb + n, 64, false);
        return r;
    }
    static void view(mpz_t z, fmpz& f, const Word& a) {
        mpz_init(z);
        mpz_import(z, n, -1, 8, 0, 0, a.limb);
        fmpz_init(&f);
        fmpz_set_mpz(&f, z);
    }

    Operands() {
        std::mt19937_64 random(N);
        for (std::size_t i = 0; i < sets; ++i) {
            for (std::size_t k = 0; k < n; ++k) {
                a[i].limb[k] = random();
                b[i].limb[k] = random();
                m[i].limb[k] = random();
                half[i].limb[k] = k < n / 2 ? random() : 0;
            }
            m[i].limb[0] |= 1;
            m[i].limb[n - 1] |= umint{1} << 63;
            half[i].limb[n / 2 - 1] |= umint{1} << 63;
            limb[i] = random();
            b[i] %= m[i];
            count[i] = 1 + static_cast<mint>(random() % (N - 1));
            text[i] = to_string(a[i]);
            boost_a.push_back(boost_of(a[i]));
            boost_b.push_back(boost_of(b[i]));
            boost_m.push_back(boost_of(m[i]));
            boost_half.push_back(boost_of(half[i]));
            boost_ba.push_back((Twice(boost_b[i]) << static_cast<unsigned>(N)) | Twice(boost_a[i]));
            view(z_a[i], f_a[i], a[i]);
            view(z_b[i], f_b[i], b[i]);
            view(z_m[i], f_m[i], m[i]);
            view(z_half[i], f_half[i], half[i]);
            mpz_init(z_ba[i]);
            mpz_mul_2exp(z_ba[i], z_b[i], N);
            mpz_add(z_ba[i], z_ba[i], z_a[i]);
            fmpz_init(&f_ba[i]);
            fmpz_set_mpz(&f_ba[i], z_ba[i]);
        }
    }
};

/** One line: the name, and its figures at a width. */
struct Operation {
    const char* name;
    Figures (*at_128)();
    Figures (*at_256)();
    Figures (*at_512)();
    Figures (*at_1024)();
};

template <mint N>
const Operands<N>& operands() {
    static const Operands<N> o;
    return o;
}

template <mint N>
struct Measured {
    using O = Operands<N>;
    using Word = typename O::Word;
    using Boost = typename O::Boost;
    static constexpr std::size_t n = O::n;
    static constexpr auto limbs = static_cast<mp_size_t>(n);

    /** A place for results that each library's calls write. */
    struct Results {
        Word q, r;
        mp_limb_t limb[2 * n + 2];
        Boost x, y;
        typename O::Twice twice;
        mpz_t z, w;
        fmpz_t f, g;
        Results() {
            mpz_init2(z, 2 * N + 64);
            mpz_init2(w, 2 * N + 64);
            fmpz_init(f);
            fmpz_init(g);
            touch(this);
        }
    };
    static Results& results() {
        static Results r;
        return r;
    }

    template <class Call>
    static double timed(Call call) {
        const O& o = operands<N>();
        Results& out = results();
        touch(&o);
        return cycles([&](std::size_t i) {
            call(o, out, i);
            touch(&out);
        });
    }
#define KESH_CALL(body)                                 \
    timed([](const O& o, Results& out, std::size_t i) { \
        (void)o, (void)out, (void)i;                    \
        body;                                           \
    })

    static Figures full_product() {
        return {KESH_CALL(math_mul(o.a[i], o.b[i], out.q, out.r)),
                KESH_CALL(mpn_mul_n(out.limb, o.a[i].limb, o.b[i].limb, limbs)),
                KESH_CALL(mp::multiply(out.twice, o.boost_a[i], o.boost_b[i])),
                KESH_CALL(fmpz_mul(out.f, &o.f_a[i], &o.f_b[i]))};
    }
    static Figures low_product() {
        return {KESH_CALL(math_mul(o.a[i], o.b[i], out.q)),
                KESH_CALL(mpn_mul_n(out.limb, o.a[i].limb, o.b[i].limb, limbs)),
                KESH_CALL(mp::multiply(out.x, o.boost_a[i], o.boost_b[i])),
                {}};
    }
    static Figures low_product_of_halves() {
        return {KESH_CALL(math_mul(o.half[i], o.half[i], out.q)),
                KESH_CALL(mpn_mul_n(out.limb, o.half[i].limb, o.half[i].limb, limbs / 2)),
                KESH_CALL(mp::multiply(out.x, o.boost_half[i], o.boost_half[i])),
                {}};
    }
    static Figures square() {
        return {KESH_CALL(math_mul(o.a[i], o.a[i], out.q, out.r)), KESH_CALL(mpn_sqr(out.limb, o.a[i].limb, limbs)),
                KESH_CALL(mp::multiply(out.twice, o.boost_a[i], o.boost_a[i])),
                KESH_CALL(fmpz_mul(out.f, &o.f_a[i], &o.f_a[i]))};
    }
    static Figures product_by_limb() {
        return {KESH_CALL(out.q = o.a[i] * o.limb[i]), KESH_CALL(mpn_mul_1(out.limb, o.a[i].limb, limbs, o.limb[i])),
                KESH_CALL(out.x = o.boost_a[i] * o.limb[i]), KESH_CALL(fmpz_mul_ui(out.f, &o.f_a[i], o.limb[i]))};
    }
    static Figures double_division() {
        return {
            KESH_CALL(math_divmod(o.a[i], o.b[i], o.m[i], out.q, out.r)),
            KESH_CALL(mpn_tdiv_qr(out.limb, out.r.limb, 0, o.z_ba[i]->_mp_d, o.z_ba[i]->_mp_size, o.m[i].limb, limbs)),
            KESH_CALL(out.twice = o.boost_ba[i] / o.boost_m[i]),
            KESH_CALL(fmpz_tdiv_qr(out.f, out.g, &o.f_ba[i], &o.f_m[i]))};
    }
    static Figures division_by_half() {
        return {KESH_CALL(math_divmod(o.a[i], o.half[i], out.q, out.r)),
                KESH_CALL(mpn_tdiv_qr(out.limb, out.r.limb, 0, o.a[i].limb, limbs, o.half[i].limb, limbs / 2)),
                KESH_CALL(mp::divide_qr(o.boost_a[i], o.boost_half[i], out.x, out.y)),
                KESH_CALL(fmpz_tdiv_qr(out.f, out.g, &o.f_a[i], &o.f_half[i]))};
    }
    static Figures division_by_limb() {
        return {KESH_CALL(math_divmod(o.a[i], Word(o.limb[i]), out.q, out.r)),
                KESH_CALL(out.limb[n] = mpn_divrem_1(out.limb, 0, o.a[i].limb, limbs, o.limb[i])),
                KESH_CALL(out.x = o.boost_a[i] / o.limb[i]), KESH_CALL(fmpz_tdiv_q_ui(out.f, &o.f_a[i], o.limb[i]))};
    }
    static Figures division_by_prepared_limb() {
        static const fastdiv_data<Word, unsigned long> divisor(0xEDD180BF);
        touch(&divisor);
        return {KESH_CALL(out.q = o.a[i] / divisor),
                KESH_CALL(out.limb[n] = mpn_divrem_1(out.limb, 0, o.a[i].limb, limbs, divisor.m)),
                KESH_CALL(out.x = o.boost_a[i] / divisor.m), KESH_CALL(fmpz_tdiv_q_ui(out.f, &o.f_a[i], divisor.m))};
    }
    static Figures root() {
        return {KESH_CALL(math_isqrt(o.a[i], out.q, out.r)),
                KESH_CALL(mpn_sqrtrem(out.limb, out.r.limb, o.a[i].limb, limbs)),
                KESH_CALL(out.x = mp::sqrt(o.boost_a[i], out.y)), KESH_CALL(fmpz_sqrtrem(out.f, out.g, &o.f_a[i]))};
    }
    static Figures inverse() {
        return {KESH_CALL(out.q = math_invmod(o.b[i], o.m[i])),
                KESH_CALL(mpz_invert(out.z, o.z_b[i], o.z_m[i])),
                {},
                KESH_CALL(fmpz_invmod(out.f, &o.f_b[i], &o.f_m[i]))};
    }
    static Figures shift_left() {
        return {KESH_CALL(out.q = o.a[i] << o.count[i]),
                KESH_CALL(mpz_mul_2exp(out.z, o.z_a[i], static_cast<mp_bitcnt_t>(o.count[i]))),
                KESH_CALL(out.x = o.boost_a[i] << o.count[i]),
                KESH_CALL(fmpz_mul_2exp(out.f, &o.f_a[i], static_cast<umint>(o.count[i])))};
    }
    static Figures shift_right() {
        return {KESH_CALL(out.q = o.a[i] >> o.count[i]),
                KESH_CALL(mpz_tdiv_q_2exp(out.z, o.z_a[i], static_cast<mp_bitcnt_t>(o.count[i]))),
                KESH_CALL(out.x = o.boost_a[i] >> o.count[i]),
                KESH_CALL(fmpz_tdiv_q_2exp(out.f, &o.f_a[i], static_cast<umint>(o.count[i])))};
    }
    static Figures read() {
        return {KESH_CALL((void)from_string(o.text[i], out.q)), KESH_CALL(mpz_set_str(out.z, o.text[i].c_str(), 10)),
                KESH_CALL(out.x.assign(o.text[i])), KESH_CALL(fmpz_set_str(out.f, o.text[i].c_str(), 10))};
    }
    static Figures print() {
        static char text[400];
        return {KESH_CALL(touch(to_string(o.a[i]).data())), KESH_CALL(touch(mpz_get_str(text, 10, o.z_a[i]))),
                KESH_CALL(touch(o.boost_a[i].str().data())), KESH_CALL(touch(fmpz_get_str(text, 10, &o.f_a[i])))};
    }
    static Figures power() {
        return {
            KESH_CALL(const mp_mont_data<Word> M(o.m[i]); out.q = M.fromMontMod(M.pow(M.toMontMod(o.b[i]), o.a[i]))),
                KESH_CALL(mpz_powm(out.z, o.z_b[i], o.z_a[i], o.z_m[i])), {},
                KESH_CALL(fmpz_powm(out.f, &o.f_b[i], &o.f_a[i], &o.f_m[i]))
        };
    }
};

#define KESH_OPERATION(text, function) \
    {text, Measured<128>::function, Measured<256>::function, Measured<512>::function, Measured<1024>::function}

constexpr Operation all_operations[] = {
    KESH_OPERATION("full product", full_product),
    KESH_OPERATION("low product", low_product),
    KESH_OPERATION("low product of values below 2^(N/2)", low_product_of_halves),
    KESH_OPERATION("square", square),
    KESH_OPERATION("product by a limb", product_by_limb),
    KESH_OPERATION("division 2N by N", double_division),
    KESH_OPERATION("division N by N/2", division_by_half),
    KESH_OPERATION("division by a limb", division_by_limb),
    KESH_OPERATION("n / fastdiv_data", division_by_prepared_limb),
    KESH_OPERATION("isqrt", root),
    KESH_OPERATION("invmod", inverse),
    KESH_OPERATION("shift left", shift_left),
    KESH_OPERATION("shift right", shift_right),
    KESH_OPERATION("from_string", read),
    KESH_OPERATION("to_string", print),
    KESH_OPERATION("pow", power),
};

/** "12" above 10, "1.2" below. */
std::string rounded(double value) {
    char text[32];
    std::snprintf(text, sizeof text, value < 9.95 ? "%.1f" : "%.0f", value);
    return text;
}

std::string peer(const std::optional<double>& value) {
    return value ? rounded(*value) : "-";
}

}  // namespace

int main(int argc, char** argv) {
    cycle = kesh::bench::nanoseconds_per_cycle();
    std::printf("Cycles; ratio: least peer / engine. GMP %s, Boost %s, FLINT %s, %s\n\n", gmp_version,
                BOOST_LIB_VERSION, FLINT_VERSION, __VERSION__);
    std::printf("| operation | bits | engine | GMP | Boost | FLINT | ratio |\n|---|---|---|---|---|---|---|\n");
    for (const Operation& operation : all_operations) {
        if (argc > 1 && std::strstr(operation.name, argv[1]) == nullptr) continue;
        int bits = 128;
        for (const auto measure : {operation.at_128, operation.at_256, operation.at_512, operation.at_1024}) {
            const Figures f = measure();
            const double best = std::min({f.gmp.value_or(1e18), f.boost.value_or(1e18), f.flint.value_or(1e18)});
            std::printf("| %s | %d | %s | %s | %s | %s | %.2f |\n", operation.name, bits, rounded(f.ours).c_str(),
                        peer(f.gmp).c_str(), peer(f.boost).c_str(), peer(f.flint).c_str(), best / f.ours);
            bits *= 2;
        }
    }
}
