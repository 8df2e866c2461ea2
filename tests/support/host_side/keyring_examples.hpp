#pragma once

#include <Poco/Base64Decoder.h>

#include <iterator>
#include <sstream>
#include <string>

/// Keyrings as "gpg --export" wrote them, with what "gpg --show-keys" says of each.
namespace zant::velmora_host::test_support {

inline std::string from_base64(const std::string& text) {
  std::istringstream encoded(text);
  Poco::Base64Decoder decoder(encoded);
  return {std::istreambuf_iterator<char>(decoder), {}};
}

/// Ed25519, made on 2026-01-01, never expires.
inline const std::string GOOD_KEYRING = from_base64(
    "mDMEaVW5ABYJKwYBBAHaRw8BAQdAn8BGBqBe4LrBqbTOR7DKjzqTMWTepVveoRYmfBz/03O0HEdvb2QgS2V5IDxnb29kQHZl"
    "bG1vcmEudGVzdD6IkAQTFggAOBYhBEo7hDofPU8J16BmWcShx65tNyGYBQJpVbkAAhsDBQsJCAcCBhUKCQgLAgQWAgMBAh4B"
    "AheAAAoJEMShx65tNyGYFQgA/RsBvW8mVNnkO+HzvuJ91UNRPS/qRqGwttphKweiwIIwAQCy7sQV/rWpkJQf+jROfzoECiVt"
    "JEQgygrp/+I8MUoaBQ==");

/// A primary key that certifies only and expired on 2020-12-31, and a subkey that signs and never
/// expires.
inline const std::string EXPIRED_PRIMARY = from_base64(
    "mDMEXgvhABYJKwYBBAHaRw8BAQdActXkdi7MDTwtBZN4esFAqAx9pELDSYpok9W9Mb32fHK0IkV4cGlyZWQgUHJpbWFyeSA8"
    "b2xkQHZlbG1vcmEudGVzdD6IlgQTFggAPhYhBAixPShCa+tz+4oqfgalf+AMI1E/BQJeC+EAAhsBBQkB4TOABQsJCAcCBhUK"
    "CQgLAgQWAgMBAh4BAheAAAoJEAalf+AMI1E/aRUBAJPEPzfrUDDyif6oO4k/lw5TvqmVkV2Pgug5srKVAJtOAP0byGYyIThl"
    "2z/FC63PNVfLNc8JwZH4g85nvhRcJrnhBbgzBF4L4QAWCSsGAQQB2kcPAQEHQEgTCxdUo6TLeq3/esA+BJlaaOEJ9HZgO9fT"
    "IJ8yMpcDiO8EGBYIACAWIQQIsT0oQmvrc/uKKn4GpX/gDCNRPwUCXgvhAAIbAgCBCRAGpX/gDCNRP3YgBBkWCAAdFiEEaUGl"
    "UHPe0SR83W40ZZxTauFytJ0FAl4L4QAACgkQZZxTauFytJ0m9QEA68h94WiRlBt6hDyczOf8aMnd9ItroaqPD0oL0FP8KuIA"
    "+wb7Ie6DyMDa051QrVynCk4Cjh8ppzTnoa1yAggQlmkHAHUBAN0BSbBZottFciZuoKu9s7bnlwiie84MxNzx3ThpLtCVAQCI"
    "TEsquYPJgksaLV6T5M6b9gIgjNl83m9r8nbJqRHuBw==");

/// RSA with 1024 bits.
inline const std::string WEAK_KEYRING = from_base64(
    "mI0EaVW5AAEEANT4xzp/euIfZvbvaZMIAN0cEWVnjIrqCSX9hT+0ySuZe99BzmWC+8RtZAc4eBJxJ94ZI/6t+tySSPIK0O8j"
    "WjNaqZqu/lBkd3AAMKi61QRFsgMkq61a/svguxmWVfya+lyXTet2lSA3dF/a2AD7U7QkPjL1JdZb0zDxiL/Q4IstABEBAAG0"
    "HFdlYWsgS2V5IDx3ZWFrQHZlbG1vcmEudGVzdD6IzgQTAQoAOBYhBHrhZKZlORF+vhnRVXxjLDvv+wfABQJpVbkAAhsDBQsJ"
    "CAcCBhUKCQgLAgQWAgMBAh4BAheAAAoJEHxjLDvv+wfA5B4EAK6X94XpplKQybf7fm+USCY/qkXFGmHpDuGPbP8T0D8nQB25"
    "nxQk7o3OxaR6YCb5aNxcKgesuAmPUkRJiZHzfPaMznTK1LKXbXZ/7dL/H5zcLO+HKF4F7CIVRDi0bWr08OHuFyZWooIridnm"
    "TaXml+Wfhq/5iaxT2J+lFGOeVLVJ");

/// NIST P-256, revoked.
inline const std::string REVOKED_KEYRING = from_base64(
    "mFIEaVW5ABMIKoZIzj0DAQcCAwTgljp4v8yp2q4TcfCa+NLohtxgW98VatFLoriEiHSVHhho7OxAzZbsOkMJyKzOCs8mXfsX"
    "jbfjvZRBSmxeVq9TiHgEIBMIACAWIQSkn088338qwDyhMFJIJZCXunnlPwUCaVW5AAIdAAAKCRBIJZCXunnlP5iLAQCTsuP/"
    "jkTba2WVCUDVigAxJdgN6uoHwfoZPMGFDFXHnwEAqbWbwjUNFo46JD1ZnU+eWTPeu0EMb+4fvOJD7H6AEmm0IlJldm9rZWQg"
    "S2V5IDxyZXZva2VkQHZlbG1vcmEudGVzdD6IkAQTEwgAOBYhBKSfTzzffyrAPKEwUkglkJe6eeU/BQJpVbkAAhsDBQsJCAcC"
    "BhUKCQgLAgQWAgMBAh4BAheAAAoJEEglkJe6eeU/+bIBAKSXUzFJJQgChp26ScC3i6w2uLqGuceZK0mkNIiHayk8AQCzTMpe"
    "zFXajyVvQL43U3qU4WhoziCc3WMk9r8brInEnA==");

/// Ed25519, certified with SHA-1.
inline const std::string SHA1_KEYRING = from_base64(
    "mDMEaVW5ABYJKwYBBAHaRw8BAQdANc1FgGoKQ7uHhtRSXqNQZwmJnN+ZNU/8aoDvR0GApvC0G1NoYSBPbmUgPHNoYTFAdmVs"
    "bW9yYS50ZXN0PoiQBBMWAgA4FiEExgHw2x1fqFpmZLbbMdT7eziNOSwFAmlVuQACGwMFCwkIBwIGFQoJCAsCBBYCAwECHgEC"
    "F4AACgkQMdT7eziNOSycEgEAmJZ/lQ1jjKCF97IoQ9pGYkc+CpkWMPkbI4T7/mZ6FkgBAKg8MMYoT0APE/laEF1s5LQtOja1"
    "2KZbup/Dd8+BGP4K");

/// RSA with 2048 bits and two user names; its expiry was moved from 2028 to 2029-01-31, and a subkey
/// encrypts until 2027-01-01.
inline const std::string TWO_NAMES_KEYRING = from_base64(
    "mQENBGlVuQABCAC+ARp+UuN46eczmZgk+fMQ+ztcAEZk7W8ORGwrgU2eqOiaeOEVPd06Y/GPme25CWg9rI8OGrVccEreAwLk"
    "poQ6aVgkCngzO16RYSZW2axoy0Hgq5PEiu6Zid1fQYL1tBAnwAwKgCsSNGhx75GGRspBo0xrCYsEkLVPqLoAy44NivvvsiSw"
    "EaII2XQa7gxwH8HQ8IT4tdALrT+Pf9/B2mZ/lRklTW8xiJNC1bj7ffDnRXbibbLs52WSIZ3zLeERagvXg68afgMDr6DY7r5e"
    "4Cvm+SVnMngQ6Kd+VbCKkXd/D6FPTWMLwmJ+A9ZM7RY9VxaE02gfhCd1AzSC7g9XVvMvABEBAAG0G090aGVyIE5hbWUgPGJA"
    "dmVsbW9yYS50ZXN0PokBVAQTAQoAPgIbAwULCQgHAgYVCgkICwIEFgIDAQIeAQIXgBYhBEk6XVXQuLWhJA9EOPtawNQfhO7J"
    "BQJpfpeABQkFzHkAAAoJEPtawNQfhO7JqF8IAKBc/cPffX0HTCxOsjQFhfTdN1l6ieheeB2x84dPJ8D3qbtf5JzjKVlSJ9T9"
    "TalvHXwlVsPZVIZI6Fsq4sL3smjaemJaD62v+zQaqzFWofScx6w3E/ZGkN3OwQWv7dDraGv11cDIyk/xv8pFcunbClIeEX58"
    "Ty+fTBqhdmE0Nm07fSIycAXzha3T178LcnDwOE9ArafRZ6i8hXmtqaYwHMHKwE+DYY1j7xIyPl9Bu0aTEnLSpzZ943Kna+38"
    "UKinKErPORQPfh9gPRdirijN8nXOJ/wY2FV36oZXkgtfQwJ3FDXI/9TPGkD/s3H5FHf8BVj9QQwJnIv3e/B072YFlO60GlR3"
    "byBOYW1lcyA8YUB2ZWxtb3JhLnRlc3Q+iQFUBBMBCgA+AhsDBQsJCAcCBhUKCQgLAgQWAgMBAh4BAheAFiEESTpdVdC4taEk"
    "D0Q4+1rA1B+E7skFAml+l4AFCQXMeQAACgkQ+1rA1B+E7slpYAf/RYVkhXqpkSPgQABoBGx67O13WTIXrKD/ee4PufsOKIt3"
    "btjuh0Fybs/FsjWvp00482EursV2Y+SQgedAUkR49gPvy1ljaLHtwpouGIelTM4Qg8Otpy48ghJ4um68xmh5HdG9Vcyu0dGz"
    "XR4KIdGT10+stPAG9Lv8HuTSxgviFiYb4L5TesAtv8W5qJ4iS6ql8+BGx+fUhKt+E9p4GsSMJyBYDnp+Lz+7F2sUm9RTem/h"
    "fyI9uhEBOq16CiI0n5Cp6U9xYtBjwjCj3GsP1Ycvxt/RVRPFIOLdlWBHZtuSkThiGEEPVrKxIeZGbUpmJL/jY7jND/UzbFi+"
    "F77XnF8qFbg4BGlVuQASCisGAQQBl1UBBQEBB0A4RF1f1JwoOr1cC8qZGNm2PLHqJdJ2LzkEac8RZ8ZxNAMBCAeJATwEGAEK"
    "ACYWIQRJOl1V0Li1oSQPRDj7WsDUH4TuyQUCaVW5AAIbDAUJAeEzgAAKCRD7WsDUH4TuySCsB/9LnsdRZ0ygDETvOPDpjP7m"
    "R1EVJ88hpjRx/plPtMTrIZvdg0UUUJjfcZAzqGAzvfSioRqYOhxvBBFwtoiNwiT4ygDQKD5tukMq+REDgsaOkaN1mvLjIHkg"
    "Ef4qq5HRAysGmcydREuSgSBgKFrBw6P07RSfhlbjEDI0molejX1s9sSsJRQ+WY6S828jRUUItwVikfj3OfgCtrBeqCkFUfV6"
    "M56j5bCP2XU34EGcHUthaL1H+C/dc6ti6PzgIuaWAVB6/V2D7k0vNtXQHg8J2uOW2VIgYUjNDwq8pceUO3SnmJ/0nCe1RaMs"
    "psLW1s7T+6r8ChDijHcSTyNJdEFFQq/W");

/// The secret key of the first one.
inline const std::string SECRET_KEYRING = from_base64(
    "lFgEaVW5ABYJKwYBBAHaRw8BAQdAn8BGBqBe4LrBqbTOR7DKjzqTMWTepVveoRYmfBz/03MAAQCdtkGDGnjgjsV5yDh1p+L4"
    "lFn55LVUhjwUVkDcHNTxHxFntBxHb29kIEtleSA8Z29vZEB2ZWxtb3JhLnRlc3Q+iJAEExYIADgWIQRKO4Q6Hz1PCdegZlnE"
    "oceubTchmAUCaVW5AAIbAwULCQgHAgYVCgkICwIEFgIDAQIeAQIXgAAKCRDEoceubTchmBUIAP0bAb1vJlTZ5Dvh877ifdVD"
    "UT0v6kahsLbaYSsHosCCMAEAsu7EFf61qZCUH/o0Tn86BAolbSREIMoK6f/iPDFKGgU=");

}  // namespace zant::velmora_host::test_support
