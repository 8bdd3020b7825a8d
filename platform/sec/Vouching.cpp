#include "Vouching.h"

#include <openssl/err.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include "Revoked.h"

namespace LumSecCore {

namespace {

struct FreeCertificates {
    void operator()(STACK_OF(X509) * certificates) const { sk_X509_pop_free(certificates, X509_free); }
};
using Certificates = std::unique_ptr<STACK_OF(X509), FreeCertificates>;

bool IsInTime(const X509* certificate) {
    return X509_cmp_current_time(X509_get0_notBefore(certificate)) < 0 &&
           X509_cmp_current_time(X509_get0_notAfter(certificate)) > 0;
}

bool EndsLater(const X509* certificate, const X509* than) {
    return ASN1_TIME_compare(X509_get0_notAfter(certificate), X509_get0_notAfter(than)) > 0;
}

/// The trusted certificates that bear the name of the issuer, authorities or not.
Certificates TrustedIssuers(X509_STORE_CTX* check, X509* certificate) {
    Certificates named(X509_STORE_CTX_get1_certs(check, X509_get_issuer_name(certificate)));
    const auto isIssuer = X509_STORE_CTX_get_check_issued(check);
    for (int i = sk_X509_num(named.get()) - 1; i >= 0; --i) {
        if (!isIssuer(check, certificate, sk_X509_value(named.get(), i))) X509_free(sk_X509_delete(named.get(), i));
    }
    return named;
}

using Revocations = std::shared_ptr<const RevocationList>;

void FreeRevocations(void*, void* list, CRYPTO_EX_DATA*, int, long, void*) {
    delete static_cast<Revocations*>(list);
}

/// Where a store keeps its list.
int RevocationsPlace() {
    static const int place =
        CRYPTO_get_ex_new_index(CRYPTO_EX_INDEX_X509_STORE, 0, nullptr, nullptr, nullptr, FreeRevocations);
    return place;
}

void Keep(X509_STORE* store, Revocations revoked) {
    if (auto* const kept = static_cast<Revocations*>(X509_STORE_get_ex_data(store, RevocationsPlace()))) {
        *kept = std::move(revoked);
        return;
    }
    auto list = std::make_unique<Revocations>(std::move(revoked));
    if (X509_STORE_set_ex_data(store, RevocationsPlace(), list.get()) != 1) throw std::bad_alloc();
    static_cast<void>(list.release());  // the store frees it
}

/// A store that was never told whom to refuse lets nobody in.
bool IsRevokedFor(const X509_STORE_CTX* check, const X509* certificate) {
    X509_STORE* const store = X509_STORE_CTX_get0_store(check);
    const auto* const list =
        store ? static_cast<const Revocations*>(X509_STORE_get_ex_data(store, RevocationsPlace())) : nullptr;
    return !list || !*list || IsRevoked(**list, certificate);
}

/// The first of the chain that is revoked, by its depth; none: -1.
int FindRevoked(const X509_STORE_CTX* check) {
    const STACK_OF(X509)* const chain = X509_STORE_CTX_get0_chain(check);
    for (int i = 0; i < sk_X509_num(chain); ++i)
        if (IsRevokedFor(check, sk_X509_value(chain, i))) return i;
    return -1;
}

/// Of several of one name one that is not revoked, of these the one whose time it is, else the one that ends last, as
/// the library has it.
bool IsBetter(const X509_STORE_CTX* check, const X509* candidate, const X509* best) {
    if (!best) return true;
    if (IsRevokedFor(check, candidate) != IsRevokedFor(check, best)) return IsRevokedFor(check, best);
    return IsInTime(candidate) != IsInTime(best) ? IsInTime(candidate) : EndsLater(candidate, best);
}

int FindAuthority(X509** issuer, X509_STORE_CTX* check, X509* certificate) {
    const Certificates named = TrustedIssuers(check, certificate);
    X509* best = nullptr;
    for (int i = 0; i < sk_X509_num(named.get()); ++i) {
        X509* const candidate = sk_X509_value(named.get(), i);
        if (IsAuthority(candidate) && IsBetter(check, candidate, best)) best = candidate;
    }
    if (best && X509_up_ref(best) != 1) return -1;
    *issuer = best;
    return best ? 1 : 0;
}

bool OnlyAuthoritiesVouched(const X509_STORE_CTX* check) {
    const STACK_OF(X509)* const chain = X509_STORE_CTX_get0_chain(check);
    for (int i = 1; i < sk_X509_num(chain); ++i)
        if (!IsAuthority(sk_X509_value(chain, i))) return false;
    return true;
}

bool IsMissingIssuer(int error) {
    return error == X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT || error == X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY ||
           error == X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE || error == X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN;
}

bool HoldsAuthority(const Certificates& certificates) {
    for (int i = 0; i < sk_X509_num(certificates.get()); ++i)
        if (IsAuthority(sk_X509_value(certificates.get(), i))) return true;
    return false;
}

/// An authority of that name would have been found, were it the one that has issued.
bool DoesNobodysIssuerEndTheChain(X509_STORE_CTX* check) {
    STACK_OF(X509)* const chain = X509_STORE_CTX_get0_chain(check);
    if (sk_X509_num(chain) == 0) return false;
    const Certificates named = TrustedIssuers(check, sk_X509_value(chain, sk_X509_num(chain) - 1));
    return sk_X509_num(named.get()) > 0 && !HoldsAuthority(named);
}

}  // namespace

bool IsAuthority(X509* certificate) {
    // The library has other numbers for what may pass for an authority: version 1, keyUsage or nsCertType alone.
    const bool is = X509_check_ca(certificate) == 1;
    ERR_clear_error();
    return is;
}

void LetOnlyAuthoritiesVouch(X509_STORE* trusted, Revocations revoked) {
    Keep(trusted, std::move(revoked));
    X509_STORE_set_flags(trusted, X509_V_FLAG_PARTIAL_CHAIN);
    X509_STORE_set_get_issuer(trusted, FindAuthority);
}

int VerifyChain(X509_STORE_CTX* check) {
    const bool verified = X509_verify_cert(check) == 1;
    if (verified && OnlyAuthoritiesVouched(check)) {
        const int revoked = FindRevoked(check);
        if (revoked < 0) return 1;
        X509_STORE_CTX_set_error_depth(check, revoked);
        X509_STORE_CTX_set_error(check, X509_V_ERR_CERT_REVOKED);
        return 0;
    }
    const int error = X509_STORE_CTX_get_error(check);
    if (verified || (IsMissingIssuer(error) && DoesNobodysIssuerEndTheChain(check)))
        X509_STORE_CTX_set_error(check, X509_V_ERR_INVALID_CA);
    else if (error == X509_V_OK)
        X509_STORE_CTX_set_error(check, X509_V_ERR_UNSPECIFIED);
    return 0;
}

bool IsNamesakeTrusted(X509_STORE_CTX* check) {
    const int error = X509_STORE_CTX_get_error(check);
    X509* const refused = X509_STORE_CTX_get_current_cert(check);
    if (!refused || (!IsMissingIssuer(error) && error != X509_V_ERR_CERT_SIGNATURE_FAILURE)) return false;
    return HoldsAuthority(Certificates(X509_STORE_CTX_get1_certs(check, X509_get_issuer_name(refused))));
}

ProofEnd EndOfChain(const void* chain) {
    const auto* const certificates = static_cast<const STACK_OF(X509)*>(chain);
    // Cut to the second first: what is left is counted in whole ones, and the end must not move behind the true one.
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    ProofEnd end = sk_X509_num(certificates) > 0 ? ProofEnd::max() : ProofEnd();
    for (int i = 0; i < sk_X509_num(certificates); ++i) {
        int days = 0, seconds = 0;
        if (ASN1_TIME_diff(&days, &seconds, nullptr, X509_get0_notAfter(sk_X509_value(certificates, i))) != 1)
            return ProofEnd();
        end = std::min<ProofEnd>(end, now + std::chrono::hours(24) * days + std::chrono::seconds(seconds));
    }
    return end;
}

int VerdictOnClient(X509* certificate, void* chain, X509_STORE* trusted, int securityLevel, ProofEnd* end) {
    const std::unique_ptr<X509_STORE_CTX, decltype(&X509_STORE_CTX_free)> check(X509_STORE_CTX_new(),
                                                                                X509_STORE_CTX_free);
    auto* const untrusted = static_cast<STACK_OF(X509)*>(chain);
    if (!check || X509_STORE_CTX_init(check.get(), trusted, certificate, untrusted) != 1 ||
        X509_STORE_CTX_set_default(check.get(), "ssl_client") != 1)
        return X509_V_ERR_UNSPECIFIED;
    X509_VERIFY_PARAM* const rules = X509_STORE_CTX_get0_param(check.get());
    X509_VERIFY_PARAM_set_depth(rules, kDeepestChain);
    X509_VERIFY_PARAM_set_auth_level(rules, securityLevel);
    if (VerifyChain(check.get()) != 1) return X509_STORE_CTX_get_error(check.get());
    if (end) *end = EndOfChain(X509_STORE_CTX_get0_chain(check.get()));
    return X509_V_OK;
}

}  // namespace LumSecCore
