// The module that the tests load.
extern "C" {
int osuptTestAnswer();
extern int osuptTestValue;

int osuptTestAnswer() { return 42; }
int osuptTestValue = 7;
}
