"""The Python module: values, the ends of the range, bad input, progress and stopping."""

import doctest
import random
import unittest

import velmora_kesh as kesh


def by_division(n):
    return n > 1 and all(n % d for d in range(2, int(n**0.5) + 1))


class Module(unittest.TestCase):
    def test_examples_of_the_documentation(self):
        failed, tried = doctest.testmod(kesh)
        self.assertGreater(tried, 0)
        self.assertEqual(failed, 0)

    def test_small_numbers(self):
        expected = [by_division(n) for n in range(3000)]
        self.assertEqual([kesh.is_prime(n) for n in range(3000)], expected)
        self.assertEqual(kesh.are_prime(range(3000)), expected)
        self.assertEqual(kesh.next_primes(0, sum(expected)), [n for n in range(3000) if expected[n]])

    def test_sizes_up_to_1024_bits(self):
        source = random.Random(3)
        numbers = [source.getrandbits(source.randrange(1, 1025)) for _ in range(400)] + [2**1024 - 105, 2**1024 - 1, 0]
        expected = [kesh.is_prime(n) for n in numbers]
        for threads in (0, 1, 3):
            self.assertEqual(kesh.are_prime(numbers, threads), expected)
        self.assertTrue(kesh.is_prime(2**521 - 1))
        self.assertFalse(kesh.is_prime(2**128 + 1))

    def test_no_numbers(self):
        self.assertEqual(kesh.are_prime([]), [])
        self.assertEqual(kesh.next_primes(5, 0), [])

    def test_neighbours(self):
        self.assertEqual(kesh.next_prime(0), 2)
        self.assertEqual(kesh.next_prime(2**64 - 59), 2**64 + 13)
        self.assertEqual(kesh.previous_prime(2**64 + 13), 2**64 - 59)
        self.assertEqual(kesh.previous_prime(3), 2)
        self.assertEqual(kesh.next_prime(2**1024 - 106), 2**1024 - 105)
        self.assertEqual(kesh.next_primes(2**64 - 60, 2), [2**64 - 59, 2**64 + 13])
        self.assertEqual(kesh.next_primes(2**1024 - 106, 5), [2**1024 - 105])

    def test_where_there_is_no_prime(self):
        for call in (lambda: kesh.next_prime(2**1024 - 105), lambda: kesh.previous_prime(2), lambda: kesh.previous_prime(0)):
            self.assertRaises(ValueError, call)

    def test_bad_input(self):
        for bad in (-1, 2**1024):
            for function in (kesh.is_prime, kesh.next_prime, kesh.previous_prime):
                self.assertRaises(ValueError, function, bad)
            self.assertRaises(ValueError, kesh.are_prime, [7, bad])
            self.assertRaises(ValueError, kesh.next_primes, bad, 1)
        for bad in (7.0, "7", None, True):
            self.assertRaises(TypeError, kesh.is_prime, bad)
        self.assertRaises(ValueError, kesh.are_prime, [7], -1)
        self.assertRaises(ValueError, kesh.next_primes, 7, -1)

    def test_progress_and_stopping(self):
        told = []
        numbers = [2**61 - 1] * 5000
        self.assertEqual(kesh.are_prime(numbers, progress=lambda done, total: told.append((done, total))), [True] * 5000)
        self.assertEqual(told[0], (0, 5000))
        self.assertEqual(told[-1], (5000, 5000))
        self.assertIsNone(kesh.are_prime(numbers, progress=lambda done, total: done > 1000))
        some = kesh.next_primes(10**15, 10000, progress=lambda done, total: done > 100)
        self.assertTrue(100 < len(some) < 10000)
        self.assertEqual(some[0], kesh.next_prime(10**15))

    def test_what_progress_raises_is_raised(self):
        def interrupt(done, total):
            raise KeyboardInterrupt

        self.assertRaises(KeyboardInterrupt, kesh.are_prime, [7] * 2000, 1, interrupt)
        self.assertRaises(KeyboardInterrupt, kesh.next_primes, 10**18, 5000, interrupt)


if __name__ == "__main__":
    unittest.main()
