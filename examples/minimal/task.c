/* platform/task.h on POSIX threads: one thread a row, and a semaphore on which its creator waits. */
#include "platform/task.h"

#include <pthread.h>
#include <semaphore.h>
#include <stddef.h>

enum { MOST_TASKS = 6 };

struct task {
  struct ModuleTaskEntry* row; /* null = free */
  pthread_t thread;
  sem_t ready;
  int notified, result;
};

static struct task tasks[MOST_TASKS];

static struct task* task_of(const struct ModuleTaskEntry* row) {
  for (int i = 0; i < MOST_TASKS; ++i)
    if (tasks[i].row == row) return &tasks[i];
  return NULL;
}

static void* run(void* argument) {
  struct task* task = argument;
  const int result = task->row->entry(task->row);
  if (!task->notified) task->result = result < 0 ? result : -1; /* it has ended before it was ready */
  sem_post(&task->ready);
  return NULL;
}

int stask_start(struct ModuleTaskEntry* row, int flag) {
  (void)flag;
  if (row->init != NULL && row->init() < 0) return -1;
  struct task* task = task_of(row) == NULL ? task_of(NULL) : NULL;
  if (task == NULL) return -1;
  task->notified = 0;
  task->row = row;
  sem_init(&task->ready, 0, 0);
  if (pthread_create(&task->thread, NULL, run, task) != 0) {
    task->row = NULL;
    return -1;
  }
  while (sem_wait(&task->ready) != 0) { /* a signal came */
  }
  if (task->notified && task->result >= 0) {
    row->tid = (uint32_t)(task - tasks) + 1;
    return 0;
  }
  pthread_join(task->thread, NULL);
  task->row = NULL;
  return task->result;
}

int stask_stop(struct ModuleTaskEntry* row) {
  struct task* task = task_of(row);
  if (task == NULL) return -1;
  pthread_cancel(task->thread);
  pthread_join(task->thread, NULL);
  task->row = NULL;
  row->tid = 0xFFFFFFFF;
  return 0;
}

int stask_notify_creater(struct ModuleTaskEntry* row, int result) {
  struct task* task = task_of(row);
  if (task == NULL) return -1;
  task->result = result;
  task->notified = 1;
  sem_post(&task->ready);
  return 0;
}
