/*
 * gnutls.cpp - GnuTLS, opened by the first call of one of its functions
 *
 * GnuTLS and what it stands on are eight shared libraries, which would be half of the time that a
 * page takes; only encrypted documents have a use for them.  The linker leads libqpdf's calls here
 * (--wrap), and each goes on to the function of the library itself.
 */
#include <stdexcept>
#include <string>

#include <dlfcn.h>

#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>

namespace {

/* The library, which stays open as long as the process; throws when it is not installed. */
void *library()
{
    static void *const opened = dlopen(GNUTLS_SONAME, RTLD_NOW | RTLD_LOCAL);
    if (!opened)
        throw std::runtime_error("the library " GNUTLS_SONAME
                                 " of encrypted documents cannot be opened");
    return opened;
}

/* A function of the library, of the type that its header gives it. */
template <class Function> Function *function(Function *, const char *name)
{
    void *found = dlsym(library(), name);
    if (!found)
        throw std::runtime_error(std::string("the library " GNUTLS_SONAME " has no ") + name);
    return reinterpret_cast<Function *>(found);
}

} // namespace

/* NOLINTBEGIN(bugprone-reserved-identifier): these are the linker's names */
#define REAL(name) function(static_cast<decltype(name) *>(nullptr), #name)

extern "C" {

int __wrap_gnutls_cipher_init(gnutls_cipher_hd_t *handle, gnutls_cipher_algorithm_t cipher,
                              const gnutls_datum_t *key, const gnutls_datum_t *iv)
{
    return REAL(gnutls_cipher_init)(handle, cipher, key, iv);
}

int __wrap_gnutls_cipher_encrypt2(gnutls_cipher_hd_t handle, const void *text, size_t textSize,
                                  void *result, size_t resultSize)
{
    return REAL(gnutls_cipher_encrypt2)(handle, text, textSize, result, resultSize);
}

int __wrap_gnutls_cipher_decrypt2(gnutls_cipher_hd_t handle, const void *text, size_t textSize,
                                  void *result, size_t resultSize)
{
    return REAL(gnutls_cipher_decrypt2)(handle, text, textSize, result, resultSize);
}

void __wrap_gnutls_cipher_deinit(gnutls_cipher_hd_t handle)
{
    REAL(gnutls_cipher_deinit)(handle);
}

size_t __wrap_gnutls_cipher_get_key_size(gnutls_cipher_algorithm_t algorithm)
{
    return REAL(gnutls_cipher_get_key_size)(algorithm);
}

int __wrap_gnutls_hash_init(gnutls_hash_hd_t *handle, gnutls_digest_algorithm_t algorithm)
{
    return REAL(gnutls_hash_init)(handle, algorithm);
}

int __wrap_gnutls_hash(gnutls_hash_hd_t handle, const void *text, size_t size)
{
    return REAL(gnutls_hash)(handle, text, size);
}

void __wrap_gnutls_hash_deinit(gnutls_hash_hd_t handle, void *digest)
{
    REAL(gnutls_hash_deinit)(handle, digest);
}

int __wrap_gnutls_rnd(gnutls_rnd_level_t level, void *data, size_t size)
{
    return REAL(gnutls_rnd)(level, data, size);
}

const char *__wrap_gnutls_strerror(int error)
{
    return REAL(gnutls_strerror)(error);
}
}
/* NOLINTEND(bugprone-reserved-identifier) */
