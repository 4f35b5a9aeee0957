// Texts that other programs have made.
#ifndef QUORVA_TESTS_STREAM_BASE64DATA_H
#define QUORVA_TESTS_STREAM_BASE64DATA_H

// 200 octets, the n-th being (7 n + 3) mod 256, by base64 (GNU coreutils 9.1) and openssl base64 (3.0).
constexpr char kCoreutilsText[] =
      "AwoRGB8mLTQ7QklQV15lbHN6gYiPlp2kq7K5wMfO1dzj6vH4/wYNFBsiKTA3PkVMU1phaG92fYSL\n"
      "kpmgp661vMPK0djf5u30+wIJEBceJSwzOkFIT1ZdZGtyeYCHjpWco6qxuL/GzdTb4unw9/4FDBMa\n"
      "ISgvNj1ES1JZYGdudXyDipGYn6attLvCydDX3uXs8/oBCA8WHSQrMjlAR05VXGNqcXh/ho2Um6Kp\n"
      "sLe+xczT2uHo7/b9BAsSGSAnLjU8Q0pRWF9mbXQ=\n";
constexpr char kOpensslText[] = "AwoRGB8mLTQ7QklQV15lbHN6gYiPlp2kq7K5wMfO1dzj6vH4/wYNFBsiKTA3PkVM\n"
                                "U1phaG92fYSLkpmgp661vMPK0djf5u30+wIJEBceJSwzOkFIT1ZdZGtyeYCHjpWc\n"
                                "o6qxuL/GzdTb4unw9/4FDBMaISgvNj1ES1JZYGdudXyDipGYn6attLvCydDX3uXs\n"
                                "8/oBCA8WHSQrMjlAR05VXGNqcXh/ho2Um6KpsLe+xczT2uHo7/b9BAsSGSAnLjU8\n"
                                "Q0pRWF9mbXQ=\n";

// A certificate by openssl req -x509, and its octets by openssl x509 -outform der.
constexpr char kCertificate[] = "-----BEGIN CERTIFICATE-----\n"
                                "MIIBeTCCAR+gAwIBAgIUfqigu3HtwmcWQwhvwOvqhjHkHHIwCgYIKoZIzj0EAwIw\n"
                                "ETEPMA0GA1UEAwwGc3RyZWFtMCAXDTI2MTEyMzEyMDE0MVoYDzIxMjYxMDMwMTIw\n"
                                "MTQxWjARMQ8wDQYDVQQDDAZzdHJlYW0wWTATBgcqhkjOPQIBBggqhkjOPQMBBwNC\n"
                                "AASDXQXVlj52l/4yoYXnE34yXXNGdbr7JAe3abcwqjhvwAVBjJH1v/eVdXjj3q38\n"
                                "44NJKkpBwi+kLg15TUxxuz3do1MwUTAdBgNVHQ4EFgQUwzCEBmVd6JPiZrwGrHQh\n"
                                "s+MQXXYwHwYDVR0jBBgwFoAUwzCEBmVd6JPiZrwGrHQhs+MQXXYwDwYDVR0TAQH/\n"
                                "BAUwAwEB/zAKBggqhkjOPQQDAgNIADBFAiEA+IOAfU+8Ae1r5oPGZsv2d7F7aKGG\n"
                                "4DSi9a1Vdv0T99ACIBt7L5Rn7hsJywEC7XgHffxNpMUq58KJAPzBdUItBEv+\n"
                                "-----END CERTIFICATE-----\n";
constexpr char kCertificateOctets[] =
      "308201793082011fa00302010202147ea8a0bb71edc2671643086fc0ebea8631e41c72300a06082a8648ce3d04"
      "03023011310f300d06035504030c0673747265616d3020170d3236313132333132303134315a180f3231323631"
      "3033303132303134315a3011310f300d06035504030c0673747265616d3059301306072a8648ce3d020106082a"
      "8648ce3d03010703420004835d05d5963e7697fe32a185e7137e325d734675bafb2407b769b730aa386fc00541"
      "8c91f5bff7957578e3deadfce383492a4a41c22fa42e0d794d4c71bb3ddda3533051301d0603551d0e04160414"
      "c3308406655de893e266bc06ac7421b3e3105d76301f0603551d23041830168014c3308406655de893e266bc06"
      "ac7421b3e3105d76300f0603551d130101ff040530030101ff300a06082a8648ce3d0403020348003045022100"
      "f883807d4fbc01ed6be683c666cbf677b17b68a186e034a2f5ad5576fd13f7d002201b7b2f9467ee1b09cb0102"
      "ed78077dfc4da4c52ae7c28900fcc175422d044bfe";

#endif
