// zul::des3: single DES (FIPS 46-3) over byte strings in ECB mode with zero padding, kept to
// read and write data that was encrypted this way.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_bytes.h>
#include <zul/base/base_type_string.h>

#include <cstdint>

namespace zul {

/// Single DES with one 8-byte key in ECB mode: every 8-byte block is encrypted on its own, with
/// no initialisation vector, and the last block is padded with zero bytes. Despite the name
/// there is no triple encryption: one key schedule, one 16-round pass per block.
///
/// Kept for compatibility with existing data only. It is NOT a protection for new data: a
/// 56-bit key falls to exhaustive search, and ECB shows equal blocks as equal ciphertext.
///
/// An object is a working state (zeroed by the constructor); the static entry points use a
/// fresh one per call, so calls may run concurrently.
class ZUL_API des3 {
  public:
    ///@{

    /// Values of the mode argument.
    static constexpr unsigned char ENCRYPT = 0;
    static constexpr unsigned char DECRYPT = 1;
    ///@}

    /// A zeroed working state.
    des3();

    /// Encrypts `data` into `out`, replacing its content. The key is the first 8 bytes of
    /// `key`, followed by zero bytes when it is shorter. `out` gets the data length rounded up
    /// to a multiple of 8 (empty data gives empty output). Always returns true.
    static bool encode(const istr& data, Bytes& out, const istr& key);
    /// Decrypts `data` into `out` with the same key rule. Padding is not removed: the result
    /// keeps the zero bytes the encryption added. Always returns true.
    static bool decode(const istr& data, Bytes& out, const istr& key);

    /// The buffer loop: copies `data` into `out` zero-padded to a multiple of 8, then runs
    /// every block in place with the 8 bytes at `key` in `mode`. The key schedule is built
    /// once for the whole call.
    void QV_DES3_Encrypt(unsigned char mode, const istr& data, Bytes& out,
                         const unsigned char* key);
    /// Runs the one 8-byte `block` in place with the 8 bytes at `key` in `mode`.
    void QV_DES3_Encrypt(unsigned char mode, unsigned char* block, const unsigned char* key);

    /// One block from the input block to the output block: the key schedule first when
    /// `withSchedule`, then the initial permutation into the halves, the 16 rounds and the
    /// inverse permutation.
    void QV_MakeKey(bool withSchedule);
    /// The key schedule: PC-1, the rotations and PC-2 give 16 subkeys of eight 6-bit values,
    /// put in reverse order for decryption.
    void QV_Pro_Key();
    /// The 16 Feistel rounds over the halves; the halves are swapped back after the last.
    void QV_Fction();

  private:
    unsigned char key_[8];
    unsigned char input_[8];
    unsigned char output_[8];
    unsigned char subkeys_[16][8];
    unsigned char round_[8];
    unsigned char perm_[64];
    unsigned char mode_;
    std::uint64_t left_;
    std::uint64_t right_;
};

}  // namespace zul
