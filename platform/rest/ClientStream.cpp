#include "platform/rest/ClientStream.h"

#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <sys/stat.h>

#include <fstream>
#include <memory>
#include <string>

#include "base/log/PlatformLog.h"
#include "platform/rest/RestGateway.h"

namespace PlatformAbstraction::Rest {

namespace {

namespace ssl = boost::asio::ssl;
using boost::system::error_code;

// Of TLS 1.2; those of TLS 1.3 are all of this kind.
constexpr char kCiphers[] =
    "ECDHE-ECDSA-AES128-GCM-SHA256:ECDHE-RSA-AES128-GCM-SHA256:"
    "ECDHE-ECDSA-AES256-GCM-SHA384:ECDHE-RSA-AES256-GCM-SHA384:"
    "ECDHE-ECDSA-CHACHA20-POLY1305:ECDHE-RSA-CHACHA20-POLY1305";

constexpr std::string_view kCertificateAdvice =
    "Name a file in PEM form with \"rest.tls.certificateFile\": the service's certificate, then those "
    "between "
    "it and its authority.";
constexpr std::string_view kKeyAdvice =
    "Name the certificate's private key, in PEM form and without a password, with "
    "\"rest.tls.privateKeyFile\".";

[[noreturn]] void Refuse(std::string_view what, const std::string& path, const std::string& why,
                         std::string_view advice) {
    std::string text = "The ";
    text.append(what).append(" \"").append(path).append("\" ").append(why).append(". ").append(advice);
    throw CannotListenError(text);
}

void CheckReadable(std::string_view what, const std::string& path, std::string_view advice) {
    if (std::ifstream file(path, std::ios::binary);
        !file || file.peek() == std::ifstream::traits_type::eof()) {
        Refuse(what, path, "is missing, empty or not readable for this user", advice);
    }
}

void UseCertificate(ssl::context& context, const std::string& path) {
    static constexpr std::string_view kWhat = "certificate file";
    CheckReadable(kWhat, path, kCertificateAdvice);
    error_code error;
    context.use_certificate_chain_file(path, error);
    if (error) {
        Refuse(kWhat, path, "holds no certificate that can be used (" + error.message() + ")",
               kCertificateAdvice);
    }
    // Serving goes on: the operator may be about to renew it, and clients decide for themselves.
    const X509* const certificate = SSL_CTX_get0_certificate(context.native_handle());
    if (X509_cmp_current_time(X509_get0_notAfter(certificate)) < 0) {
        Log::Warning("The certificate in \"" + path + "\" has expired; clients will refuse it.");
    }
}

// The certificate comes first: a key is held against the one that is there.
void UsePrivateKey(ssl::context& context, const TlsFiles& files) {
    static constexpr std::string_view kWhat = "private key file";
    CheckReadable(kWhat, files.privateKeyFile, kKeyAdvice);
    const auto asksForPassword = std::make_shared<bool>(false);
    context.set_password_callback([asksForPassword](std::size_t, ssl::context::password_purpose) {
        *asksForPassword = true;
        return std::string();
    });
    if (struct stat state{};
        ::stat(files.privateKeyFile.c_str(), &state) == 0 && (state.st_mode & S_IROTH) != 0) {
        Log::Warning("Every user of this machine can read the private key file \"" + files.privateKeyFile +
                     "\"; take that right away, with chmod o=.");
    }
    error_code error;
    context.use_private_key_file(files.privateKeyFile, ssl::context::pem, error);
    if (*asksForPassword) {
        Refuse(kWhat, files.privateKeyFile, "is protected by a password", kKeyAdvice);
    }
    if (error) {
        Refuse(
            kWhat, files.privateKeyFile,
            "holds no key of the certificate in \"" + files.certificateFile + "\" (" + error.message() + ")",
            kKeyAdvice);
    }
}

int SelectHttp11(SSL* /*connection*/, const unsigned char** selected, unsigned char* selectedSize,
                 const unsigned char* offered, unsigned offeredSize, void* /*unused*/) {
    static constexpr unsigned char kOurs[] = {8, 'h', 't', 't', 'p', '/', '1', '.', '1'};
    unsigned char* found = nullptr;
    if (SSL_select_next_proto(&found, selectedSize, kOurs, sizeof kOurs, offered, offeredSize) !=
        OPENSSL_NPN_NEGOTIATED) {
        return SSL_TLSEXT_ERR_ALERT_FATAL;
    }
    *selected = found;
    return SSL_TLSEXT_ERR_OK;
}

// A session that is kept could be resumed with a key that lives as long as the process; so none is.
void SetRules(SSL_CTX* context) {
    SSL_CTX_set_options(context, SSL_OP_NO_COMPRESSION | SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_TICKET |
                                     SSL_OP_CIPHER_SERVER_PREFERENCE | SSL_OP_PRIORITIZE_CHACHA);
    SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
    SSL_CTX_set_alpn_select_cb(context, SelectHttp11, nullptr);
    if (SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION) != 1 ||
        SSL_CTX_set_cipher_list(context, kCiphers) != 1 || SSL_CTX_set_num_tickets(context, 0) != 1) {
        throw CannotListenError(
            "The cryptographic library of this machine has no TLS 1.2 with the ciphers that are needed. "
            "Update "
            "it, or take \"rest.tls\" out of the bus settings and put a proxy with TLS in front.");
    }
}

}  // namespace

ssl::context MakeTlsContext(const TlsFiles& files) {
    ssl::context context(ssl::context::tls_server);
    SetRules(context.native_handle());
    UseCertificate(context, files.certificateFile);
    UsePrivateKey(context, files);
    return context;
}

}  // namespace PlatformAbstraction::Rest
