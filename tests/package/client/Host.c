/* The host interface as an outside program includes it. */
#include <zx/ZxEvaluation.h>
#include <zx/ZxGraph.h>
#include <zx/ZxItem.h>
#include <zx/ZxModule.h>
#include <zx/ZxPackage.h>
#include <zx/ZxScene.h>
#include <zx/ZxSelection.h>

int main(void) { return kZxOk == 0 && sizeof(ZxModuleTable) > sizeof(ZxObjectOps) ? 0 : 1; }
