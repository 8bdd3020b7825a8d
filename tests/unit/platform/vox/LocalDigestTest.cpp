#include "LocalDigest.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "DigestText.h"

using namespace LumVoxMsg;
using Verdict = LocalDigestGuard::Verdict;

namespace {

constexpr std::uint64_t kNow = 1'000'000'000'000;
const std::string kSecret(64, 'a');
constexpr char kTarget[] = "/node/voxrpcserver";

std::string NonceOf(const std::string& challenge) {
    return std::string(DigestParameters::Read(challenge)->Get("nonce"));
}

/// What a caller writes.
struct Proof {
    std::string secret = kSecret, user = "local-7443", realm = "lum", nonce, uri = kTarget, clientNonce = "c",
                count = "00000001", algorithm = "SHA-256", qop = "auth", method = "POST";

    std::string Text() const {
        const std::string a1 = HashText(user + ":" + realm + ":" + secret), a2 = HashText(method + ":" + uri);
        const std::string response =
            HashText(a1 + ":" + nonce + ":" + count + ":" + clientNonce + ":" + qop + ":" + a2);
        return "Digest username=\"" + user + "\", realm=\"" + realm + "\", nonce=\"" + nonce + "\", uri=\"" + uri +
               "\", cnonce=\"" + clientNonce + "\", nc=" + count + ", algorithm=" + algorithm + ", response=\"" +
               response + "\", qop=" + qop;
    }
};

struct LocalDigestTest : testing::Test {
    std::uint64_t now = kNow;
    LocalDigestGuard guard{LocalDigest(kSecret, 7443), [this] { return now; }, 4};

    Proof Answer() const {
        Proof proof;
        proof.nonce = NonceOf(guard.Challenge(false));
        return proof;
    }
    Verdict Check(const Proof& proof) { return guard.Check(proof.Text(), "POST", kTarget); }
};

}  // namespace

TEST(DigestText, HashesAsThePublishedExampleSays) {
    const std::string a1 = HashText("Mufasa:http-auth@example.org:Circle of Life");
    const std::string a2 = HashText("GET:/dir/index.html");
    EXPECT_EQ(HashText(a1 +
                       ":7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v:00000001:"
                       "f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ:auth:" +
                       a2),
              "753927fa0e85d155564e2e272a28d1802ca10daf4496794697cf8db5856cb6c1");
    EXPECT_EQ(KeyedHashText("Jefe", "what do ya want for nothing?"),
              "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
}

TEST(DigestText, ParametersAreReadInTheirForms) {
    const auto read = DigestParameters::Read("dIgEsT a=1 ,, B = \"x, \\\"y\\\\\"\t,c=\"\"");
    ASSERT_TRUE(read);
    EXPECT_EQ(read->Get("A"), "1");
    EXPECT_EQ(read->Get("b"), "x, \"y\\");
    EXPECT_EQ(read->Get("c"), "");
    EXPECT_EQ(read->Get("d"), "");
    for (const char* const bad :
         {"", "Digest2 a=1", "Basic a=1", "Digest a", "Digest =1", "Digest a=", "Digest a=1 b=2", "Digest a=\"1",
          "Digest a=\"1\\", "Digest a=1,A=2", "Digest a=\"1\"2"})
        EXPECT_FALSE(DigestParameters::Read(bad)) << bad;
    std::string many = "Digest ";
    for (int i = 0; i < 33; ++i) many += "p" + std::to_string(i) + "=1,";
    EXPECT_FALSE(DigestParameters::Read(many));
}

TEST_F(LocalDigestTest, ARightProofIsTakenOnceAndTheNextCountToo) {
    Proof proof = Answer();
    EXPECT_EQ(Check(proof), Verdict::Proven);
    EXPECT_EQ(Check(proof), Verdict::Stale) << "it was overheard";
    proof.count = "0000000a";
    EXPECT_EQ(Check(proof), Verdict::Proven);
    proof.count = "00000009";
    EXPECT_EQ(Check(proof), Verdict::Stale);
}

TEST_F(LocalDigestTest, EveryPartThatIsWrongIsRefused) {
    const std::vector<std::function<void(Proof&)>> rows = {
        [](Proof& p) { p.secret[63] = 'b'; },
        [](Proof& p) { p.secret.clear(); },
        [](Proof& p) { p.user = "local-7444"; },
        [](Proof& p) { p.user = "local"; },
        [](Proof& p) { p.realm = "other"; },
        [](Proof& p) { p.uri = "/other"; },
        [](Proof& p) { p.uri = std::string(kTarget) + "?wsdl"; },
        [](Proof& p) { p.method = "GET"; },
        [](Proof& p) { p.algorithm = "MD5"; },
        [](Proof& p) { p.algorithm = "SHA-256-sess"; },
        [](Proof& p) { p.qop = "auth-int"; },
        [](Proof& p) { p.clientNonce.clear(); },
        [](Proof& p) { p.count = "1"; },
        [](Proof& p) { p.count = "0000000x"; },
        [](Proof& p) { p.count = "-0000001"; },
        [](Proof& p) { p.count = "000000001"; },
    };
    for (std::size_t i = 0; i < rows.size(); ++i) {
        Proof proof = Answer();
        rows[i](proof);
        EXPECT_EQ(Check(proof), Verdict::Refused) << i;
    }
    std::string altered = Answer().Text();
    const std::size_t at = altered.find("response=\"") + 10;
    altered[at] = altered[at] == '0' ? '1' : '0';
    EXPECT_EQ(guard.Check(altered, "POST", kTarget), Verdict::Refused);
    for (const char* const text : {"Digest", "Digest ", "LumLocal x", "Digest username=\"local-7443\""})
        EXPECT_EQ(guard.Check(text, "POST", kTarget), Verdict::Refused) << text;
}

TEST_F(LocalDigestTest, ANonceEndsAndOneThatThisNodeDidNotMakeForItsPortIsNone) {
    Proof old = Answer();
    now += LocalDigest::kNonceLife;
    EXPECT_EQ(Check(old), Verdict::Proven);
    old.count = "00000002";
    ++now;
    EXPECT_EQ(Check(old), Verdict::Stale);
    const LocalDigest otherPort(kSecret, 7444), otherNode(std::string(64, 'b'), 7443), ahead(kSecret, 7443);
    std::string altered = Answer().nonce;
    altered[20] = altered[20] == '0' ? '1' : '0';
    for (const std::string& nonce :
         {NonceOf(otherPort.Challenge(now, false)), NonceOf(otherNode.Challenge(now, false)),
          NonceOf(ahead.Challenge(now + 60'000'000, false)), altered, std::string(), std::string("x")}) {
        Proof proof;
        proof.nonce = nonce;
        EXPECT_EQ(Check(proof), Verdict::Stale) << nonce;
    }
}

TEST_F(LocalDigestTest, UsesBeyondThoseThatAreRememberedMakeTheOldestNoncesOldAndNeverGoodAgain) {
    std::vector<Proof> proofs;
    for (int i = 0; i < 6; ++i, ++now) proofs.push_back(Answer());
    for (const Proof& proof : proofs) EXPECT_EQ(Check(proof), Verdict::Proven);
    for (const Proof& proof : proofs) EXPECT_EQ(Check(proof), Verdict::Stale);
    for (std::size_t i = 0; i < proofs.size(); ++i) {
        proofs[i].count = "00000002";
        EXPECT_EQ(Check(proofs[i]), i < 2 ? Verdict::Stale : Verdict::Proven) << i;
    }
    EXPECT_EQ(Check(Answer()), Verdict::Proven);
}

TEST_F(LocalDigestTest, OneProofThatComesTwiceAtTheSameTimeIsTakenOnce) {
    const std::string proof = Answer().Text();
    std::atomic<int> proven{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] { proven += guard.Check(proof, "POST", kTarget) == Verdict::Proven; });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(proven, 1);
}

TEST_F(LocalDigestTest, AClientKnowsTheChallengesOfItsOwnNodeAlone) {
    const LocalDigest mine(kSecret, 7443);
    const std::string own = guard.Challenge(true);
    EXPECT_TRUE(mine.IsOwn(own, now));
    EXPECT_TRUE(DigestParameters::Read(own)->Get("stale") == "true");
    EXPECT_TRUE(DigestParameters::Read(guard.Challenge(false))->Get("stale").empty());
    EXPECT_FALSE(mine.IsOwn(own, now + LocalDigest::kNonceLife + 1)) << "kept since the node ended";
    EXPECT_FALSE(LocalDigest(kSecret, 7444).IsOwn(own, now)) << "passed on from another port";
    EXPECT_FALSE(LocalDigest(std::string(64, 'b'), 7443).IsOwn(own, now));
    std::string weak = own;
    weak.replace(weak.find("SHA-256"), 7, "MD5");
    for (const std::string& foreign :
         {std::string("Basic realm=\"lum\""), weak, std::string("Digest"),
          std::string("Digest realm=\"lum\", qop=\"auth\", algorithm=SHA-256, nonce=\"\"")})
        EXPECT_FALSE(mine.IsOwn(foreign, now)) << foreign;
}
