/* Writes the JSON Schema of all types to a file: what is installed beside the library. */
#include <stdio.h>
#include <velnor3gpp/velnor3gppJson.h>

int main(int argc, char** argv)
{
  velnor3gpp_Session* session;
  const char* text;
  size_t count;
  FILE* file;
  int failed;
  if (argc != 2) {
    fprintf(stderr, "usage: velnor3gpp_schemaFile FILE\n");
    return 2;
  }
  if (velnor3gpp_open(&session) < 0) return 1;
  failed = velnor3gpp_schema(session, NULL, &text, &count) < 0;
  file = failed ? NULL : fopen(argv[1], "w");
  failed = !file || fwrite(text, 1, count, file) != count;
  if (file && fclose(file)) failed = 1;
  velnor3gpp_close(session);
  return failed;
}
